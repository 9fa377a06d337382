#include "TRSongsTVC.h"

#include <gtest/gtest.h>

namespace fillstation::test {
namespace {

TEST(TRSongsTVC, NewListHasNoRowsAndATotalOfZero) {
  const TRSongsTVC list;
  EXPECT_EQ(list.numberOfRowsInTableView(nullptr), 0U);
  ASSERT_TRUE(list.totalFileSize());
  EXPECT_EQ(list.totalFileSize().value(), 0);
  EXPECT_EQ(list.tblView(), nullptr);
}

}  // namespace
}  // namespace fillstation::test
