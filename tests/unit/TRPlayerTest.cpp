#include "TRPlayer.h"

#include <gtest/gtest.h>

#include "TestPlatform.h"
#include "UsbUtil.h"

namespace fillstation::test {
namespace {

TEST(TRPlayer, NewPlayerIsEmptyNotSelectedNotMountedAndEjecting) {
  const TRPlayer player;
  EXPECT_EQ(player.name(), "Empty");
  EXPECT_EQ(player.path(), "Empty");
  EXPECT_FALSE(player.size());
  EXPECT_TRUE(player.selected());
  EXPECT_FALSE(player.selected().isTrue());
  EXPECT_FALSE(player.isMounted());
  EXPECT_TRUE(player.isEjecting());
  EXPECT_EQ(player.diskName(), std::nullopt);
  EXPECT_EQ(player.IONumber(), 0);
}

}  // namespace
}  // namespace fillstation::test
