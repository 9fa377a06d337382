#include "NameOrder.h"

#include <algorithm>
#include <cstddef>

namespace fillstation {

namespace {

bool isDigit(char byte) { return byte >= '0' && byte <= '9'; }

// Takes the run of digits that the text begins with, without its leading zeros.
std::string_view takeNumber(std::string_view& text) {
  const auto* const end = std::find_if_not(text.begin(), text.end(), isDigit);
  std::string_view digits = text.substr(0, static_cast<std::size_t>(end - text.begin()));
  text.remove_prefix(digits.size());
  digits.remove_prefix(std::min(digits.find_first_not_of('0'), digits.size()));
  return digits;
}

// Below, at or above zero as the left number is smaller, equal or larger.
int compareNumbers(std::string_view left, std::string_view right) {
  if (left.size() != right.size()) {
    return left.size() < right.size() ? -1 : 1;
  }
  return left.compare(right);
}

// How many bytes both begin with, but for digits at the end: they belong to a number that may
// differ. Sorting a folder compares names that have much in common.
std::size_t commonBeginning(std::string_view left, std::string_view right) {
  const auto differing = std::mismatch(left.begin(), left.end(), right.begin(), right.end()).first;
  auto size = static_cast<std::size_t>(differing - left.begin());
  while (size > 0 && isDigit(left[size - 1])) {
    --size;
  }
  return size;
}

int compareNames(std::string_view left, std::string_view right) {
  const std::size_t common = commonBeginning(left, right);
  left.remove_prefix(common);
  right.remove_prefix(common);
  while (!left.empty() && !right.empty()) {
    int order = 0;
    if (isDigit(left.front()) && isDigit(right.front())) {
      order = compareNumbers(takeNumber(left), takeNumber(right));
    } else {
      order = left.substr(0, 1).compare(right.substr(0, 1));
      left.remove_prefix(1);
      right.remove_prefix(1);
    }
    if (order != 0) {
      return order;
    }
  }
  return left.compare(right);
}

}  // namespace

bool namesInOrder(std::string_view left, std::string_view right) {
  const int order = compareNames(left, right);
  return order != 0 ? order < 0 : left < right;
}

}  // namespace fillstation
