#include <gtest/gtest.h>

#include <vector>

#include "QtUsbBus.h"

namespace fillstation::test {

namespace {

std::vector<std::uint8_t> productOf(const std::string& text) {
  StringDescriptors device({"", text, ""}, 0);
  std::array<std::uint8_t, 300> buffer{};
  const auto count = device.deviceRequest({0x80, 6, 0x302, 1033, 300}, buffer);
  return {buffer.begin(), buffer.begin() + count.value_or(0)};
}

}  // namespace

TEST(StringDescriptorsTest, EachTextHasItsIndexAndAnEmptyOneNone) {
  const StringDescriptors device({"m", "p", "s"}, 0x1234);
  EXPECT_EQ(device.manufacturerStringIndex(), 1);
  EXPECT_EQ(device.productStringIndex(), 2);
  EXPECT_EQ(device.serialNumberStringIndex(), 3);
  EXPECT_EQ(device.releaseNumber(), 0x1234);
  EXPECT_EQ(StringDescriptors({"m", "", "s"}, 0).productStringIndex(), 0);
  EXPECT_EQ(productOf(""), std::vector<std::uint8_t>());
}

TEST(StringDescriptorsTest, OnlyStringsOfTheDeviceAreAnswered) {
  StringDescriptors device({"m", "p", "s"}, 0);
  std::array<std::uint8_t, 8> buffer{};
  for (const UsbRequest& request :
       {UsbRequest{0x81, 6, 0x301, 0, 8}, UsbRequest{0x80, 5, 0x301, 0, 8},
        UsbRequest{0x80, 6, 0x201, 0, 8}, UsbRequest{0x80, 6, 0x300, 0, 8},
        UsbRequest{0x80, 6, 0x304, 0, 8}}) {
    EXPECT_EQ(device.deviceRequest(request, buffer), std::nullopt);
  }
  EXPECT_EQ(buffer, (std::array<std::uint8_t, 8>{}));
}

TEST(StringDescriptorsTest, CharactersAreCodeUnitsLowByteFirst) {
  const std::vector<std::pair<std::string, std::vector<std::uint8_t>>> texts{
      {"aä\u4E2D", {8, 3, 'a', 0, 0xE4, 0, 0x2D, 0x4E}},
      {"\uFFFF", {4, 3, 0xFF, 0xFF}},
      {"\U00010000", {6, 3, 0x00, 0xD8, 0x00, 0xDC}},
      {"\U0001F600", {6, 3, 0x3D, 0xD8, 0x00, 0xDE}},
      {"\xFF", {2, 3}}};  // what is not UTF-8
  for (const auto& [text, bytes] : texts) {
    EXPECT_EQ(productOf(text), bytes);
  }
}

TEST(StringDescriptorsTest, ALongTextEndsWhereItsLengthNoLongerFits) {
  EXPECT_EQ(productOf(std::string(125, 'x')).size(), 252U);
  EXPECT_EQ(productOf(std::string(126, 'x')).size(), 254U);
  const auto longest = productOf(std::string(127, 'x'));
  EXPECT_EQ(longest.size(), 254U);
  EXPECT_EQ(longest[0], 254);
}

TEST(StringDescriptorsTest, NoMoreThanTheBufferOrTheRequestTakesIsGiven) {
  StringDescriptors device({"m", "product", "s"}, 0);
  std::array<std::uint8_t, 8> buffer{};
  EXPECT_EQ(device.deviceRequest({0x80, 6, 0x302, 0, 100}, buffer), 8U);
  EXPECT_EQ(device.deviceRequest({0x80, 6, 0x302, 0, 4}, buffer), 4U);
  EXPECT_EQ(device.deviceRequest({0x80, 6, 0x302, 0, 100}, {}), 0U);
}

}  // namespace fillstation::test
