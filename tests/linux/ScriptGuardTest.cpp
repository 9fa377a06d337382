#include <gtest/gtest.h>
#include <sys/stat.h>

#include <cstdlib>
#include <filesystem>
#include <string>
#include <utility>
#include <vector>

#include "ChildProcess.h"
#include "DiskCases.h"
#include "PolkitScriptRunner.h"
#include "TempFolder.h"

namespace fillstation::test {
namespace {

constexpr auto kWipe = PlayerCommand::wipe;
constexpr auto kFormat = PlayerCommand::format;
constexpr const char* kGone = "The device has gone.";
constexpr const char* kMounted = "The disk is mounted.";
constexpr const char* kNoPlayer = "The disk is not a player.";
constexpr const char* kInUse = "The disk is in use.";
const std::string kMarked(65536, 'x');  // the first contents of a node

// The tools of the tests' commands, in the fake system's folder.
constexpr const char* kWorld = R"sh(
usb=sys/devices/usb1/1-2
scsi=$usb/sdz/host0/0:0:0:0
disk=$scsi/block/sdz

node() {  # NAME MAJOR:MINOR
  head -c 65536 /dev/zero | tr '\0' x >"dev/$1"
  chmod 1600 "dev/$1"
  printf '0x%x 0x%x\n' "${2%:*}" "${2#*:}" >"numbers/$(/usr/bin/stat -c %i "dev/$1")"
}

player() {  # NAME MAJOR:MINOR SEQUENCE: below the one USB device, with its node
  block=$usb/$1/host0/0:0:0:0/block/$1
  mkdir -p "$block/holders"
  ln -s ../.. "$block/device"
  echo 'ACTIONS ' >"$block/device/vendor"
  echo "$2" >"$block/dev"
  echo "$3" >"$block/diskseq"
  ln -s "$PWD/$block" "sys/dev/block/$2"
  node "$1" "$2"
}

partition() {  # NAME MAJOR:MINOR
  mkdir -p "$disk/$1/holders"
  echo "$2" >"$disk/$1/dev"
  echo 1 >"$disk/$1/partition"
}

mounted() {  # MAJOR:MINOR SOURCE
  echo "40 22 $1 / /media/x rw shared:9 - vfat $2 rw" >>proc/self/mountinfo
}
)sh";

// The guard on a fake system of folders and files, without root: a file with the sticky bit is a
// block device, and small scripts replace the tools that would query the kernel. The script is the
// real one, except for its first lines and two checks of a file's type.
class GuardRig {
 public:
  GuardRig() {
    replace("PATH=", "PATH=" + path("bin") + ":");
    replace("sys=/sys\n", "sys=" + path("sys") + "\n");
    replace("proc=/proc\n", "proc=" + path("proc") + "\n");
    replace("[ -b \"$held\" ]", "[ -k \"$held\" ]");
    replace("[ -b \"$node\" ]", "[ -k \"$node\" ]");
    replace("[ -f \"$node\" ]", "[ -f \"$node\" ] && [ ! -k \"$node\" ]");
    sh("mkdir -p dev numbers bin proc/self sys/dev/block $usb; player sdz 8:400 77; "
       "echo 1 >$usb/busnum; echo 12 >$usb/devnum; "
       "echo 1 >$usb/../busnum; echo 1 >$usb/../devnum; "
       "echo '22 1 254:0 / / rw,noatime shared:1 - ext4 /dev/vda rw' >proc/self/mountinfo; "
       "printf 'Filename\tType\tSize\tUsed\tPriority\n' >proc/swaps");
    addTool("stat", "exec cat \"" + path("numbers") + "/$(/usr/bin/stat -L -c %i /dev/fd/9)\"");
    addTool("blockdev", log("blockdev"));
    addTool("sleep", log("sleep"));
    addTool("mkfs.fat", log("mkfs.fat") + writesFat());
  }

  std::string path(const std::string& below) const { return folder_.path(below); }
  std::string node(const std::string& name = "sdz") const { return path("dev/" + name); }
  std::string content(const std::string& name = "sdz") const { return contentOf(node(name)); }

  // Runs it in the system's folder, on the contents of kWorld.
  void sh(const std::string& commands) const {
    const std::string line = "cd '" + path(".") + "'; set -e" + kWorld + commands;
    EXPECT_EQ(std::system(line.c_str()), 0) << commands;
  }
  // The tool is found before the system's own.
  void addTool(const std::string& name, const std::string& script) const {
    const std::string file = folder_.write("bin/" + name, "#!/bin/sh\n" + script + "\n");
    ::chmod(file.c_str(), 0755);
  }
  // A tool's line that records its name and arguments.
  std::string log(const std::string& name) const {
    return "printf '%s\\n' \"" + name + " $*\" >>\"" + path("log") + "\"\n";
  }
  std::string logged() const { return contentOf(path("log")); }
  static std::string writesFat() {
    return "printf FAT32 | /usr/bin/dd of=\"$2\" conv=notrunc status=none";
  }
  // The waiting time in the script, in seconds.
  void setPatience(int seconds) { replace("+ 15)", "+ " + std::to_string(seconds) + ")"); }

  // Of the player, or of the same by another name.
  ShellResult run(PlayerCommand::Kind kind, const std::string& name = "sdz") const {
    return runShell(guardedCommand(kind, {node(name), 0x1000C}, 77, script_));
  }
  void expectRefused(PlayerCommand::Kind kind, const std::string& why,
                     const std::string& name = "sdz") const {
    const auto result = run(kind, name);
    EXPECT_EQ(result.exitStatus, kGuardRefusal);
    EXPECT_EQ(result.err, why + "\n");
    EXPECT_EQ(result.out, "");
  }
  // Neither command runs, and the disk is as it was.
  void expectUntouched(const std::string& why, const std::string& name = "sdz") const {
    expectRefused(kWipe, why, name);
    expectRefused(kFormat, why, name);
    EXPECT_EQ(content(), kMarked);
    EXPECT_EQ(logged(), "");
  }

 private:
  void replace(const std::string& from, const std::string& to) {
    const std::size_t at = script_.find(from);
    if (at == std::string::npos || script_.find(from, at + 1) != std::string::npos) {
      ADD_FAILURE() << "not there, or more than once: " << from;
      return;
    }
    script_.replace(at, from.size(), to);
  }

  TempFolder folder_;
  std::string script_{guardScript()};
};

// The guard of the privileged side, run by the real shell.
class ScriptGuardTest : public testing::Test, protected GuardRig {
 protected:
  void expectAllowed() const {
    EXPECT_EQ(run(kWipe).exitStatus, 0);
    EXPECT_EQ(run(kFormat).exitStatus, 0);
    EXPECT_TRUE(content().starts_with(std::string("FAT32\0", 6)));
  }
};

TEST_F(ScriptGuardTest, ThePlayersHeadIsWiped) {
  const auto result = run(kWipe);
  EXPECT_EQ(result.exitStatus, 0) << result.err;
  EXPECT_EQ(content(), std::string(40960, '\0'));
  EXPECT_EQ(logged(), "");
}

TEST_F(ScriptGuardTest, ThePlayerIsFormattedAfterItsTableWasReadAgain) {
  const auto result = run(kFormat);
  EXPECT_EQ(result.exitStatus, 0) << result.err;
  EXPECT_TRUE(content().starts_with("FAT32x"));
  EXPECT_EQ(logged(), "blockdev --rereadpt /dev/fd/9\nmkfs.fat -F32 /dev/fd/9\n");
}

TEST_F(ScriptGuardTest, TheFactsPrecedeTheScript) {
  EXPECT_EQ(guardedCommand(kWipe, {"/dev/sdb", 0x3007F}, 1ull << 40, "rest"),
            "node=/dev/sdb\nbus=3\ndevice=127\nsequence=1099511627776\nkind=wipe\nrest");
  EXPECT_EQ(guardedCommand(kFormat, {"/dev/sdc", 0}, 0, "rest"),
            "node=/dev/sdc\nbus=0\ndevice=0\nsequence=0\nkind=format\nrest");
  EXPECT_TRUE(guardedCommand(kWipe, {"/dev/sdb", 0x3007F}, 1).ends_with(guardScript()));
}

TEST_F(ScriptGuardTest, ANodeThatIsNotThereIsRefusedAndNotMade) {
  expectUntouched(kGone, "sdy");
  EXPECT_FALSE(std::filesystem::exists(node("sdy")));
}

TEST_F(ScriptGuardTest, ANameThatLeadsToAnotherDiskIsRefused) {
  sh("player sdy 8:384 77; rm dev/sdz; ln -s sdy dev/sdz");
  expectUntouched(kGone);
  EXPECT_EQ(content("sdy"), kMarked);
}

TEST_F(ScriptGuardTest, AnotherDiskOfThatNameIsRefused) {
  for (const auto& found : diskCases()) {
    SCOPED_TRACE(found.what);
    sh("echo " + std::to_string(1 + found.bus) + " >$usb/busnum; echo " +
       std::to_string(12 + found.device) + " >$usb/devnum; echo '" + found.vendor +
       "' >$scsi/vendor; rm -f $disk/diskseq" +
       (found.sequence ? "; echo " + std::to_string(77 + *found.sequence) + " >$disk/diskseq"
                       : ""));
    if (!found.isPlayer()) {
      expectUntouched(found.isActions() ? kGone : kNoPlayer);
    }
  }
}

TEST_F(ScriptGuardTest, AMountedDiskIsRefused) {
  sh("mounted 8:400 /dev/disk/by-label/X");
  expectUntouched(kMounted);
}

TEST_F(ScriptGuardTest, ASwappedDiskOrPartitionIsRefused) {
  for (const char* line : {"/dev/sdz1 partition\t1", "/dev/sdz\tpartition\t1"}) {
    sh(std::string("partition sdz1 8:401; echo '") + line + "' >proc/swaps");
    expectUntouched(kInUse);
  }
}

TEST_F(ScriptGuardTest, ADiskUnderAnotherBlockDeviceIsRefused) {
  sh("ln -s ../../dm-0 $disk/holders/dm-0");
  expectUntouched(kInUse);
}

TEST_F(ScriptGuardTest, AClaimedDiskIsNotWiped) {
  addTool("perl", "exit 1");
  expectRefused(kWipe, kInUse);
  EXPECT_EQ(content(), kMarked);
}

TEST_F(ScriptGuardTest, ASystemThatIsNotAsItWasIsRefused) {
  const std::vector<std::pair<std::string, std::string>> changes = {
      {"chmod 0600 dev/sdz", kGone},
      {"rm sys/dev/block/8:400", kGone},
      {"rm -r $disk", kGone},
      {"echo 1 >$usb/sdz/busnum; echo 14 >$usb/sdz/devnum", kGone},  // the nearest device counts
      {"rm $usb/busnum $usb/../busnum", kGone},
      {"rm $scsi/vendor", kNoPlayer},
      {"partition sdz1 8:401; partition sdz2 259:7; mounted 259:7 somewhere", kMounted},
      {"partition sdz1 8:401; mounted 0:51 /dev/sdz1", kMounted},
      {"partition sdz1 8:401; ln -s ../../dm-0 $disk/sdz1/holders/dm-0", kInUse}};
  for (const auto& [commands, why] : changes) {
    SCOPED_TRACE(commands);
    const GuardRig rig;
    rig.sh(commands);
    rig.expectUntouched(why);
  }
}

TEST_F(ScriptGuardTest, UnreadableFactsAreRefused) {
  const std::vector<std::pair<std::string, std::string>> changes = {
      {"partition sdz1 8:401; rm $disk/sdz1/dev", kGone},
      {"rm proc/self/mountinfo", "The mount table is missing."},
      {"rm proc/swaps; mkdir proc/swaps", "The list of swaps is missing."}};
  for (const auto& [commands, why] : changes) {
    SCOPED_TRACE(commands);
    const GuardRig rig;
    rig.sh(commands);
    const auto result = rig.run(kWipe);
    EXPECT_EQ(result.exitStatus, kGuardRefusal);
    // After the system's message.
    EXPECT_TRUE(result.err.ends_with(why + "\n")) << result.err;
    EXPECT_EQ(rig.content(), kMarked);
  }
}

TEST_F(ScriptGuardTest, OtherDisksDontMatter) {
  for (const char* commands :
       {"mounted 8:40 /dev/sdzz; mounted 8:4001 /dev/sd; mounted 18:400 /dev/sdz3; "
        "printf 'Filename\tType\n/dev/sdzz file\n/dev/sdz3 partition\n' >proc/swaps",
        "rm proc/swaps",
        // A folder that is named like the player.
        "echo '40 22 254:0 /dev/sdz /media/x rw - ext4 /dev/vda rw' >proc/self/mountinfo",
        // A file beside the partitions.
        "mkdir $disk/sdz_stat; echo 8:402 >$disk/sdz_stat/dev; mounted 8:402 somewhere"}) {
    SCOPED_TRACE(commands);
    sh(commands);
    expectAllowed();
  }
}

// By default a shell takes it for a pattern of paths.
TEST_F(ScriptGuardTest, ALineOfTheMountTableIsReadUnchanged) {
  const std::string line = path("40") + " 22 0:60 / /media/x rw - vfat /dev/sd";
  std::filesystem::create_directories(line + "z rw");
  sh("echo '" + line + "? rw' >proc/self/mountinfo");
  expectAllowed();
}

TEST_F(ScriptGuardTest, ANodeSwappedBetweenCheckAndWipeDoesNotRedirectTheWrite) {
  addTool("dd", "mv '" + node() + "' '" + node("old") + "'\nmv '" + node("foreign") + "' '" +
                    node() + "'\nexec /usr/bin/dd \"$@\"");
  sh("node foreign 8:400");
  const auto result = run(kWipe);
  EXPECT_EQ(result.exitStatus, 0) << result.err;
  EXPECT_EQ(content(), kMarked);
  EXPECT_EQ(content("old"), std::string(40960, '\0'));
}

TEST_F(ScriptGuardTest, ANodeSwappedBetweenCheckAndFormatDoesNotRedirectTheWrite) {
  addTool("mkfs.fat", "mv '" + node("foreign") + "' '" + node() + "'\n" + writesFat());
  sh("node foreign 8:400; ln dev/sdz dev/linked");
  EXPECT_EQ(run(kFormat).exitStatus, 0);
  EXPECT_EQ(content(), kMarked);
  EXPECT_TRUE(content("linked").starts_with("FAT32x"));
}

TEST_F(ScriptGuardTest, ANodeThatVanishesBeforeTheWriteIsNotCreated) {
  addTool("dd", "rm '" + node() + "'\nexec /usr/bin/dd \"$@\"");
  run(kWipe);
  EXPECT_FALSE(std::filesystem::exists(node()));
}

TEST_F(ScriptGuardTest, ARegularFileInTheNodesPlaceIsRemovedAndTheCommandHasFailed) {
  addTool("dd", "rm '" + node() + "'\n: >'" + node() + "'");
  expectRefused(kWipe, kGone);
  EXPECT_FALSE(std::filesystem::exists(node()));
}

TEST_F(ScriptGuardTest, TheCommandsFailureIsReturned) {
  addTool("dd", "echo full >&2; exit 1");
  addTool("mkfs.fat", "echo broken >&2; exit 5");
  EXPECT_EQ(run(kWipe).exitStatus, 1);
  EXPECT_EQ(run(kWipe).err, "full\n");
  EXPECT_EQ(run(kFormat).exitStatus, 5);
  EXPECT_EQ(run(kFormat).err, "broken\n");
}

TEST_F(ScriptGuardTest, TheFormatWaitsUntilNoPartitionIsLeft) {
  sh("partition sdz1 8:401; partition sdz2 8:402");
  const std::string block = path("sys/devices/usb1/1-2/sdz/host0/0:0:0:0/block/sdz");
  // Refused at first, then one partition goes, then the other.
  addTool("blockdev", log("blockdev") + "case $(grep -c blockdev '" + path("log") +
                          "') in\n1) exit 1 ;;\n2) rm -r '" + block + "/sdz1' ;;\n3) rm -r '" +
                          block + "/sdz2' ;;\nesac");
  EXPECT_EQ(run(kFormat).exitStatus, 0);
  EXPECT_EQ(logged(),
            "blockdev --rereadpt /dev/fd/9\nsleep 0.1\nblockdev --rereadpt /dev/fd/9\nsleep 0.1\n"
            "blockdev --rereadpt /dev/fd/9\nmkfs.fat -F32 /dev/fd/9\n");
}

TEST_F(ScriptGuardTest, PartitionsThatStayAreRefusedInTheEnd) {
  sh("partition sdz1 8:401");
  setPatience(0);
  expectRefused(kFormat, "The partitions of before are still there.");
  EXPECT_EQ(logged(), "blockdev --rereadpt /dev/fd/9\n");
}

TEST_F(ScriptGuardTest, ADiskWhoseTableCantBeReadAgainIsFormattedIfItHasNoPartitions) {
  addTool("blockdev", log("blockdev") + "echo no >&2; exit 1");
  setPatience(0);
  const auto result = run(kFormat);
  EXPECT_EQ(result.exitStatus, 0);
  EXPECT_EQ(result.err, "");
  EXPECT_EQ(logged(), "blockdev --rereadpt /dev/fd/9\nmkfs.fat -F32 /dev/fd/9\n");
}

TEST_F(ScriptGuardTest, AChangeDuringTheWaitIsRefused) {
  addTool("blockdev",
          "echo '40 22 8:400 / /media/x rw - vfat x rw' >>'" + path("proc/self/mountinfo") + "'");
  expectRefused(kFormat, kMounted);
  addTool("blockdev", "rm '" + path("sys/dev/block/8:400") + "'");
  sh("sed -i '$d' proc/self/mountinfo");
  expectRefused(kFormat, kGone);
  EXPECT_EQ(logged(), "");
}

TEST_F(ScriptGuardTest, TheSystemsOwnFoldersAndToolsAreMeant) {
  EXPECT_NE(guardScript().find("\nPATH=/usr/sbin:/usr/bin:/sbin:/bin\nsys=/sys\nproc=/proc\n"),
            std::string::npos);
  EXPECT_NE(guardScript().find("+ 15)"), std::string::npos);
}

}  // namespace
}  // namespace fillstation::test
