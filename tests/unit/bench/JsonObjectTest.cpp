#include "JsonObject.h"

#include <gtest/gtest.h>

namespace fillstation {

namespace {

TEST(JsonObjectTest, ALineIsOneMoreThanTheLineFeedsBefore) {
  EXPECT_EQ(lineOfByte("", 0), 1);
  EXPECT_EQ(lineOfByte("a\nb", 1), 1);
  EXPECT_EQ(lineOfByte("a\nb", 2), 2);
  EXPECT_EQ(lineOfByte("a\nb\n", 99), 3);
}

TEST(JsonObjectTest, APathLeadsToItsLine) {
  const std::string_view text = R"(
{
  "a": [1, "x]", {"y": "}"},
    [2, [3]],
    {"b\"": null,
     "c": -1.5e3}],
  "d": {
  },
  "e":
    true
}
)";
  EXPECT_EQ(lineOfPath(text, {"a"}), 3);
  EXPECT_EQ(lineOfPath(text, {"a", "0"}), 3);
  EXPECT_EQ(lineOfPath(text, {"a", "1"}), 3);
  EXPECT_EQ(lineOfPath(text, {"a", "2", "y"}), 3);
  EXPECT_EQ(lineOfPath(text, {"a", "3"}), 4);
  EXPECT_EQ(lineOfPath(text, {"a", "3", "1", "0"}), 4);
  EXPECT_EQ(lineOfPath(text, {"a", "4"}), 5);
  EXPECT_EQ(lineOfPath(text, {"a", "4", "b\""}), 5);
  EXPECT_EQ(lineOfPath(text, {"a", "4", "c"}), 6);
  EXPECT_EQ(lineOfPath(text, {"d"}), 7);
  EXPECT_EQ(lineOfPath(text, {"e"}), 9);
}

TEST(JsonObjectTest, APathThatLeadsNowhereGivesTheLineAbove) {
  EXPECT_EQ(lineOfPath("{\n\"a\": {\n}\n}", {"a", "missing"}), 2);
  EXPECT_EQ(lineOfPath("{\n\"a\": {\n}\n}", {"missing"}), 1);
  EXPECT_EQ(lineOfPath("[\n1]", {"7"}), 1);
}

TEST(JsonObjectTest, AnEscapedKeyIsFound) {
  EXPECT_EQ(lineOfPath("{\n\"\\u0061\\\\\": 1}", {"a\\"}), 2);
}

}  // namespace

}  // namespace fillstation
