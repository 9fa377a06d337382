#include <string>
#include <variant>

#include "ChildProcess.h"
#include "PolkitScriptRunner.h"
#include "ScriptWindow.h"

namespace fillstation::test {
namespace {

// The guard as root, on a real block device.
class ScriptClaimTest : public ScriptWindowTest {
 protected:
  static ShellCommand::Result wipe() {
    return std::get<ShellCommand::Result>(
        ShellCommand::run(guardedCommand(PlayerCommand::wipe, {"/dev/vp0", 0x10002}, 1)));
  }
};

TEST_F(ScriptClaimTest, ADiskMountedInAnotherMountNamespaceIsNotWiped) {
  shell(
      "mkfs.ext4 -q -F /dev/vp0; mkdir /run/box/elsewhere; "
      "unshare --mount --propagation private /bin/sh -ec '"
      "mount /dev/vp0 /run/box/elsewhere; touch /run/box/mounted; "
      "until [ -e /run/box/enough ]; do sleep 0.02; done; "
      "umount /run/box/elsewhere; touch /run/box/unmounted' &");
  awaitFile("/run/box/mounted");
  EXPECT_EQ(read("/proc/self/mountinfo").find("/run/box/elsewhere"), std::string::npos);
  writeFile("/run/box/go-wiping", "");
  const auto refused = wipe();
  EXPECT_EQ(refused.exitStatus, kGuardRefusal);
  EXPECT_EQ(refused.err, "The disk is in use.\n");
  EXPECT_FALSE(exists("/run/box/wiping"));
  writeFile("/run/box/enough", "");
  awaitFile("/run/box/unmounted");
  EXPECT_EQ(wipe().exitStatus, 0);
}

}  // namespace
}  // namespace fillstation::test
