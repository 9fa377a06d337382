#include "UsbText.h"

#include <gtest/gtest.h>

#include <string>
#include <thread>

#include "UsbUtil.h"

namespace fillstation::test {
namespace {

// What cfTypeToCString() makes of a text value.
std::string extracted(const std::string& text) {
  const auto value = PlatformValue::text(text);
  return cfTypeToCString(&value);
}

std::string converted(const std::string& text) { return cfStringRefToCString(&text); }

// The characters of a text value's description that are not the text's.
const std::size_t kFrame = PlatformValue::text("").description().size();

TEST(CfStringRefToCString, NullYieldsNullAndLeavesTheBufferUntouched) {
  const std::string text = "kept";
  const char* const earlier = cfStringRefToCString(&text);
  EXPECT_EQ(cfStringRefToCString(nullptr), nullptr);
  EXPECT_STREQ(earlier, "kept");
}

TEST(CfTypeToCString, NullYieldsNullAndLeavesTheBufferUntouched) {
  const auto value = PlatformValue::text("kept");
  const char* const earlier = cfTypeToCString(&value);
  EXPECT_EQ(cfTypeToCString(nullptr), nullptr);
  EXPECT_STREQ(earlier, "kept");
}

TEST(CfStringRefToCString, TextComesBackAsItIs) {
  EXPECT_EQ(converted("sdb"), "sdb");
  EXPECT_EQ(converted("7 \xC3\xA4\xF0\x9F\x8E\xB5\""), "7 \xC3\xA4\xF0\x9F\x8E\xB5\"");
  EXPECT_EQ(converted(""), "");
}

TEST(CfStringRefToCString, TextOfMoreThan1023BytesYieldsTheEmptyString) {
  EXPECT_EQ(converted(std::string(1023, 'a')), std::string(1023, 'a'));
  EXPECT_EQ(converted(std::string(1024, 'a')), "");
  EXPECT_EQ(converted(std::string(5000, 'a')), "");
}

TEST(CfStringRefToCString, TextThatCannotBeConvertedYieldsTheEmptyString) {
  EXPECT_EQ(converted("before"), "before");
  EXPECT_EQ(converted("\xFF"), "");
}

TEST(CfStringRefToCString, CallsShareOneBufferOfTheirThread) {
  const std::string first = "first";
  const std::string second = "second";
  const char* const buffer = cfStringRefToCString(&first);
  std::thread([&second] { EXPECT_STREQ(cfStringRefToCString(&second), "second"); }).join();
  EXPECT_STREQ(buffer, "first");
  EXPECT_EQ(cfStringRefToCString(&second), buffer);
  EXPECT_STREQ(buffer, "second");
}

TEST(CfTypeToCString, CallsShareOneBufferOfTheirThread) {
  const auto first = PlatformValue::text("first");
  const auto second = PlatformValue::text("second");
  const char* const buffer = cfTypeToCString(&first);
  std::thread([&second] { EXPECT_STREQ(cfTypeToCString(&second), "second"); }).join();
  EXPECT_STREQ(buffer, "first");
  EXPECT_EQ(cfTypeToCString(&second), buffer);
  EXPECT_STREQ(buffer, "second");
}

TEST(CfTypeToCString, HasABufferOfItsOwn) {
  const auto value = PlatformValue::text("value");
  const char* const fromValue = cfTypeToCString(&value);
  EXPECT_EQ(converted("text"), "text");
  EXPECT_STREQ(fromValue, "value");
}

TEST(CfTypeToCString, LeadingDigitBecomesX) {
  EXPECT_EQ(extracted("7DAYS"), "xDAYS");
  EXPECT_EQ(extracted("0"), "x");
  EXPECT_EQ(extracted("99"), "x9");
}

TEST(CfTypeToCString, OtherTextStaysUnchanged) {
  EXPECT_EQ(extracted("SONGS"), "SONGS");
  EXPECT_EQ(extracted("A7"), "A7");
  EXPECT_EQ(extracted("/1"), "/1");
  EXPECT_EQ(extracted(":1"), ":1");
}

TEST(CfTypeToCString, EmptyTextYieldsTheEmptyString) { EXPECT_EQ(extracted(""), ""); }

TEST(CfTypeToCString, TextIsCutAtItsOwnDoubleQuote) { EXPECT_EQ(extracted("a\"b"), "a"); }

TEST(CfTypeToCString, DescriptionOfMoreThan1023BytesYieldsTheEmptyString) {
  EXPECT_EQ(extracted(std::string(1023 - kFrame, 'a')), std::string(1023 - kFrame, 'a'));
  EXPECT_EQ(extracted(std::string(1024 - kFrame, 'a')), "");
}

TEST(CfTypeToCString, TextThatIsNotUtf8YieldsTheEmptyString) { EXPECT_EQ(extracted("\xFF"), ""); }

TEST(CfTypeToCString, DescriptionWithoutQuotesYieldsTheEmptyString) {
  extracted("an older \"result\"");
  const auto number = PlatformValue::number(7);
  EXPECT_STREQ(cfTypeToCString(&number), "");
}

TEST(CfTypeToCString, DescriptionWithOneQuoteYieldsTheEmptyString) {
  extracted(std::string(200, 'a') + "\"");
  const auto address = PlatformValue::url("a\"b");
  EXPECT_STREQ(cfTypeToCString(&address), "");
}

TEST(AddressIn, IsWhatFollowsTheEqualsSignUpToTheComma) {
  EXPECT_EQ(addressIn(PlatformValue::url("file:///media/a%2Cb/").description()),
            "file:///media/a%2Cb/");
  EXPECT_EQ(addressIn("a = b, {x = path, y = z}"), "path");
  EXPECT_EQ(addressIn("{=_p,"), "p");
}

TEST(AddressIn, EmptyAddressStaysEmpty) {
  EXPECT_EQ(addressIn(PlatformValue::url("").description()), "");
  EXPECT_EQ(addressIn("{= ,p,"), "");
}

TEST(AddressIn, FirstCharacterBehindTheEqualsSignIsAlwaysSkipped) {
  EXPECT_EQ(addressIn("{=,p,"), "p");
}

TEST(AddressIn, DescriptionWithoutBraceHasNone) { EXPECT_EQ(addressIn("x = path, y"), ""); }

TEST(AddressIn, DescriptionWithoutEqualsSignHasNone) {
  EXPECT_EQ(addressIn("{path, more"), "");
  EXPECT_EQ(addressIn("x = y {path, more"), "");
}

TEST(AddressIn, DescriptionWithoutCommaHasNone) {
  EXPECT_EQ(addressIn("{x = path}"), "");
  EXPECT_EQ(addressIn("a,{x = path}"), "");
  EXPECT_EQ(addressIn("{="), "");
  EXPECT_EQ(addressIn("{= "), "");
  EXPECT_EQ(addressIn("{=,"), "");
  EXPECT_EQ(addressIn(""), "");
}

}  // namespace
}  // namespace fillstation::test
