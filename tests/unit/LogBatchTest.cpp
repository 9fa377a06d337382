#include "LogBatch.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "TestPlatform.h"

namespace fillstation::test {
namespace {

using Texts = std::vector<std::string>;

TEST(LogBatch, RecordsInOrderWhenItGoes) {
  const TestPlatform ports;
  {
    LogBatch batch;
    batch.add("one");
    batch.add("two\n");
    EXPECT_TRUE(ports.log.texts().empty());
  }
  EXPECT_EQ(ports.log.texts(), (Texts{"one", "two\n"}));
}

TEST(LogBatch, RecordsWhenItIsFull) {
  const TestPlatform ports;
  LogBatch batch;
  EXPECT_EQ(LogBatch::kMost, 256U);
  for (int text = 0; text < 255; ++text) {
    batch.add(std::to_string(text));
  }
  EXPECT_TRUE(ports.log.texts().empty());
  batch.add("last");
  EXPECT_EQ(ports.log.texts().size(), 256U);
  EXPECT_EQ(ports.log.texts().back(), "last");
  batch.add("next");
  EXPECT_EQ(ports.log.texts().size(), 256U);
}

TEST(LogBatch, RecordsWhatItHoldsWhenTheProcessLeaves) {
  const TestPlatform ports;
  {
    LogBatch batch;
    batch.add("one");
    LogBatch::recordCurrent();
    EXPECT_EQ(ports.log.texts(), Texts{"one"});
    LogBatch::recordCurrent();
    batch.add("two");
  }
  LogBatch::recordCurrent();
  EXPECT_EQ(ports.log.texts(), (Texts{"one", "two"}));
}

}  // namespace
}  // namespace fillstation::test
