#include "FatNames.h"

#include <algorithm>
#include <cerrno>

#include "FatText.h"

namespace fillstation {

namespace {

constexpr std::size_t kLongestName = 255;  // UTF-16 units
constexpr std::size_t kUnitsPerSlot = 13;

bool isForbidden(char16_t unit) {
  return unit < 0x20 || std::u16string_view(u":?*<>|\"\\").find(unit) != std::u16string_view::npos;
}

}  // namespace

std::string_view fatName(std::string_view name) {
  return name.substr(0, name.find_last_not_of('.') + 1);
}

int fatNameError(std::string_view name) {
  const std::string_view stripped = fatName(name);
  const auto units = utf16Of(stripped);
  if (stripped.empty()) {
    return ENOENT;
  }
  if (!units || stripped.back() == ' ' || std::any_of(units->begin(), units->end(), isForbidden)) {
    return EINVAL;
  }
  return units->size() > kLongestName ? ENAMETOOLONG : 0;
}

std::string foldedFatName(std::string_view name) {
  std::string folded(fatName(name));
  std::transform(folded.begin(), folded.end(), folded.begin(), [](char letter) {
    return letter >= 'A' && letter <= 'Z' ? static_cast<char>(letter + 32) : letter;
  });
  return folded;
}

std::int64_t fatSlots(std::string_view name) {
  const std::size_t units = utf16Of(fatName(name)).value_or(std::u16string()).size();
  return static_cast<std::int64_t>(1 + (units + kUnitsPerSlot - 1) / kUnitsPerSlot);
}

}  // namespace fillstation
