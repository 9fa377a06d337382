#include <string>
#include <tuple>
#include <variant>

#include "PolkitScriptRunner.h"
#include "ScriptWindow.h"

namespace fillstation::test {
namespace {

// The commands that run as root, and the processes that are left, when the window ends at a certain
// moment of a run.
class ScriptLeavingTest : public ScriptWindowTest,
                          public ::testing::WithParamInterface<LeavingCase> {
 protected:
  static std::string moment() { return std::get<0>(GetParam()); }
  static Way way() { return std::get<1>(GetParam()); }

  static void awaitNothingLeft() {
    await([] { return processes("/run/box/agent").empty(); }, "the agent ends");
    awaitEnd({"pkexec", "polkit-agent-helper", "/dev/fd/9", "fillstation: ready"});
  }
};

TEST_P(ScriptLeavingTest, NoCommandBeginsAndOneThatRunsEnds) {
  slowTool("/usr/sbin/mkfs.fat", "formatting");
  const auto person = openChecking();
  if (moment() != "Authentication") {
    writeFile("/run/box/go", "");
    awaitFile("/run/box/wiping");
  }
  if (moment() == "Format") {
    writeFile("/run/box/go-wiping", "");
    awaitFile("/run/box/formatting");
  }
  person->leave(way());
  for (const char* file : {"/run/box/go", "/run/box/go-wiping", "/run/box/go-formatting"}) {
    writeFile(file, "");
  }
  awaitNothingLeft();
  EXPECT_EQ(exists("/run/box/wiping"), moment() != "Authentication");
  EXPECT_EQ(exists("/run/box/formatting"), moment() == "Format");

  const auto again = openWindow();
  type(*again, bossPassword());
  again->say({"ok"});
  EXPECT_TRUE(again->ask({"alert"}, "Process Completed."));
}

INSTANTIATE_TEST_SUITE_P(Every, ScriptLeavingTest,
                         ::testing::Combine(::testing::Values("Authentication", "Wipe", "Format"),
                                            ::testing::Values(Way{"Closed", 0},
                                                              Way{"Terminated", SIGTERM},
                                                              Way{"Killed", SIGKILL})),
                         nameOfLeaving);

// The guard as root, on a real block device.
class ScriptClaimTest : public ScriptWindowTest {
 protected:
  static ShellResult wipe() {
    return runShell(guardedCommand(PlayerCommand::wipe, {"/dev/vp0", 0x10002}, 1));
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

int main(int argc, char** argv) {
  std::vector<char*> given(argv, argv + argc);
  testing::InitGoogleTest(&argc, argv);
  const auto status = fillstation::test::runInBoxes(static_cast<int>(given.size()), given.data());
  return status ? *status : RUN_ALL_TESTS();
}
