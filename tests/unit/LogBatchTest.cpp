#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "TestPlatform.h"

namespace fillstation::test {
namespace {

using Texts = std::vector<std::string>;

TEST(LogBatch, RecordsWhenItIsFullAndWhenItGoes) {
  TestLog log;
  EXPECT_EQ(LogBatch::kMost, 256U);
  {
    LogBatch batch(log);
    for (int text = 0; text < 255; ++text) {
      batch.add(std::to_string(text));
    }
    EXPECT_TRUE(log.texts().empty());
    batch.add("last");
    EXPECT_EQ(log.texts().size(), 256U);
    EXPECT_EQ(log.texts().back(), "last");
    batch.add("one");
    batch.add("two\n");
    EXPECT_EQ(log.texts().size(), 256U);
  }
  EXPECT_EQ(log.texts().size(), 258U);
  EXPECT_EQ(log.texts().back(), "two\n");
}

TEST(LogBatch, RecordsWhatItHoldsWhenTheProcessLeaves) {
  TestLog log;
  {
    LogBatch batch(log);
    batch.add("one");
    LogBatch::recordCurrent();
    EXPECT_EQ(log.texts(), Texts{"one"});
    LogBatch::recordCurrent();
    batch.add("two");
  }
  LogBatch::recordCurrent();
  EXPECT_EQ(log.texts(), (Texts{"one", "two"}));
}

}  // namespace
}  // namespace fillstation::test
