#include "DiskOrder.h"

#include <gtest/gtest.h>

#include <utility>
#include <vector>

#include "MainLoop.h"

namespace fillstation::test {

class DiskOrderTest : public ::testing::Test {
 protected:
  void add(const DiskOrder::Sequence& disk, const std::string& what) {
    order.add(disk, [this, what](DiskOrder::Ended ended) {
      begun.push_back(what);
      ends.push_back(std::move(ended));
    });
  }

  StopSource stop;
  QtMainThread mainThread{stop};
  DiskOrder order{mainThread};
  std::vector<std::string> begun;
  std::vector<DiskOrder::Ended> ends;
};

TEST_F(DiskOrderTest, NothingBeginsInsideTheCall) {
  add(101, "one");
  EXPECT_TRUE(begun.empty());
  runLoopDry();
  EXPECT_EQ(begun, std::vector<std::string>({"one"}));
}

TEST_F(DiskOrderTest, TheNextBeginsWhenTheOneBeforeHasEnded) {
  add(101, "one");
  add(101, "two");
  runLoopDry();
  EXPECT_EQ(begun, std::vector<std::string>({"one"}));
  ends[0]();
  EXPECT_EQ(begun.size(), 1U);
  runLoopDry();
  EXPECT_EQ(begun, std::vector<std::string>({"one", "two"}));
  ends[1]();
  add(101, "three");
  runLoopDry();
  EXPECT_EQ(begun, std::vector<std::string>({"one", "two", "three"}));
}

TEST_F(DiskOrderTest, DisksDoNotWaitForEachOther) {
  add(101, "b");
  add(102, "c");
  runLoopDry();
  EXPECT_EQ(begun, std::vector<std::string>({"b", "c"}));
}

}  // namespace fillstation::test
