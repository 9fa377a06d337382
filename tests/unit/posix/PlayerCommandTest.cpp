#include "PlayerCommand.h"

#include <gtest/gtest.h>

#include <string>

namespace fillstation {
namespace {

std::string wipeOf(const std::string& node) {
  return "dd if=/dev/zero of=" + node + " bs=4k count=10";
}
std::string formatOf(const std::string& node) { return "mkfs.fat -F32 " + node; }

TEST(PlayerCommand, RecognisesBothCommands) {
  for (const std::string node : {"/dev/sdb", "/dev/vp0", "/dev/a", "/dev/z9", "/dev/vp1234567890",
                                 "/dev/abcdefghijklmnopqrstuvwxyz0"}) {
    const auto wipe = parsePlayerCommand(wipeOf(node));
    ASSERT_TRUE(wipe) << node;
    EXPECT_EQ(wipe->kind, PlayerCommand::wipe);
    EXPECT_EQ(wipe->node, node);
    const auto format = parsePlayerCommand(formatOf(node));
    ASSERT_TRUE(format) << node;
    EXPECT_EQ(format->kind, PlayerCommand::format);
    EXPECT_EQ(format->node, node);
  }
}

TEST(PlayerCommand, ANodeHasAtMost32Characters) {
  const std::string longest = "/dev/" + std::string(20, 's') + "1234567";
  ASSERT_EQ(longest.size(), 32U);
  EXPECT_TRUE(parsePlayerCommand(formatOf(longest)));
  EXPECT_FALSE(parsePlayerCommand(formatOf(longest + "8")));
}

TEST(PlayerCommand, RefusesWhatIsNoNode) {
  for (const std::string node :
       {"",          "/dev/",           "/dev",        "sdb",        "/dev/1",    "/dev/sd1b",
        "/dev/sdB",  "/dev/sd-b",       "/dev/../sdb", "/dev//sdb",  "/dev/sdb/", "/dev/sdb ",
        " /dev/sdb", "/dev/sdb;reboot", "/dev/sd b",   "/dev/sdb\n", "/dev/`a`",  "/dev/{",
        "/tmp/sdb",  "/dev/a:",         "/dev/a/",     "xdev/sdb"}) {
    EXPECT_FALSE(parsePlayerCommand(wipeOf(node))) << node;
    EXPECT_FALSE(parsePlayerCommand(formatOf(node))) << node;
  }
}

TEST(PlayerCommand, RefusesOtherCommandLines) {
  const std::string node = "/dev/sdb";
  for (const std::string& line :
       {std::string(), node, "dd if=/dev/zero of=" + node, " " + wipeOf(node), wipeOf(node) + " ",
        wipeOf(node) + "0", "dd if=/dev/urandom of=" + node + " bs=4k count=10",
        "dd if=/dev/zero of=" + node + " bs=4k count=11", "dd  if=/dev/zero of=" + node,
        std::string("mkfs.fat -F32"), "mkfs.fat -F32  " + node, "mkfs.fat -F16 " + node,
        "mkfs.fat -F32 -I " + node, "mkfs.ext4 " + node, formatOf(node) + " bs=4k count=10",
        std::string("dd if=/dev/zero of= bs=4k count=10")}) {
    EXPECT_FALSE(parsePlayerCommand(line)) << line;
  }
}

}  // namespace
}  // namespace fillstation
