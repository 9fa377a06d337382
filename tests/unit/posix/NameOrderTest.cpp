#include "NameOrder.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <clocale>
#include <string>
#include <vector>

namespace fillstation {
namespace {

// Each name comes before all that follow it, and none before itself.
void expectOrder(const std::vector<std::string>& names) {
  for (std::size_t left = 0; left < names.size(); ++left) {
    for (std::size_t right = 0; right < names.size(); ++right) {
      EXPECT_EQ(namesInOrder(names[left], names[right]), left < right)
          << names[left] << " and " << names[right];
    }
  }
}

TEST(NameOrder, DigitsCountByValue) {
  expectOrder({"0", "1", "2", "9", "10", "11", "99", "100"});
  expectOrder({"a1b", "a2a", "a2b", "a10a", "b1"});
  expectOrder({"1.2.10", "1.10.2", "1.10.3"});
}

TEST(NameOrder, NumbersLongerThanAnyInteger) {
  expectOrder({"99999999999999999999998", "99999999999999999999999", "100000000000000000000000"});
}

TEST(NameOrder, LeadingZerosDoNotCountButDecideATie) {
  expectOrder({"0", "00", "007", "07", "7", "008", "8", "010", "10"});
  expectOrder({"01 a", "1 a", "01 b", "1 b", "02 a"});
}

TEST(NameOrder, ANumberComesWhereItsDigitsStand) {
  expectOrder({"", " 1", "-1", "/", "0", "5", ":", "A", "a", "a/", "a5", "a:"});
}

TEST(NameOrder, AShorterNameComesFirst) {
  expectOrder({"a", "a ", "a0", "a00b", "a0b", "aa", "ab"});
}

TEST(NameOrder, BytesAreUnsignedAndNeedNotBeText) {
  expectOrder({"Z", "a", "\x7f", "\x80", "\xc3\xa4", "\xff"});
}

TEST(NameOrder, NoLocaleChangesIt) {
  std::setlocale(LC_ALL, "C.UTF-8");
  expectOrder({"B", "a", "b", "\xc3\xa4"});
  std::setlocale(LC_ALL, "C");
}

}  // namespace
}  // namespace fillstation
