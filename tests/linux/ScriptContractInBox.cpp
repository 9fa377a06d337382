#include <fcntl.h>
#include <linux/fs.h>
#include <sys/ioctl.h>
#include <unistd.h>

#include <QCoreApplication>
#include <array>
#include <cstdlib>
#include <filesystem>
#include <map>
#include <vector>

#include "LinuxRig.h"
#include "PolkitScriptRunner.h"
#include "ScriptBox.h"
#include "ScriptRunnerContract.h"

namespace fillstation::contract {

namespace {

void shell(const std::string& command) { EXPECT_EQ(std::system(command.c_str()), 0) << command; }

// The Linux back end in a box of script_box.sh: the real polkit and pkexec run the commands on
// block devices made of files, which the fake machine presents as players. Once per box, as root.
class BoxBackEnd : public test::LinuxRig, public ScriptRunner {
 public:
  BoxBackEnd()
      : polkit_(
            "/run/box/agent", [this](const DiskIdentity& player) { return known.willWipe(player); },
            [this](const DiskIdentity& player) { known.spared(player); }) {
    platform().workers = &workers;
    udisks.handler = [this](const test::UDisksCall& call) { return obeyAndMount(call); };
    // The view of the box's root: this machine's devices, and nodes that exist only inside.
    shell("sh '" BOX_DISKS_SCRIPT "' '" + sysPath("") + "'");
  }
  ~BoxBackEnd() override { platform() = {}; }

  ScriptRunner& scriptRunner() override { return *this; }
  std::string userName() override { return "boss"; }
  std::string password() override { return test::bossPassword(); }

  void make(const std::string& name, const PlayerWish& wish) override {
    LinuxRig::make(name, wish);
    const std::string image = "/run/box/" + name + ".img";
    LoopDisk& disk = disks_[name];
    disk.image = FileHandle(::open(image.c_str(), O_RDWR | O_CREAT | O_EXCL | O_CLOEXEC, 0600));
    EXPECT_EQ(::ftruncate(disk.image.get(), wish.sizeMiB * 1024 * 1024), 0);
    disk.loop = test::LoopDevice::of(disk.image.get());
    if (!wish.blank) {
      shell("mkfs.fat -F32 " + disk.loop.node() + " >/dev/null");
    }
  }

  void plug(const std::string& name) override {
    LinuxRig::plug(name);
    const test::MockPlayer& player = machine.player(name);
    const LoopDisk& disk = disks_[name];
    machine.setAttribute(player.usbPath, "devnum", std::to_string(player.number) + "\n");
    machine.setAttribute(player.diskPath, "removable", "1\n");
    const std::string folder = sysPath(player.diskPath.substr(std::string("/sys").size()));
    std::filesystem::create_directory(folder + "/holders");
    std::filesystem::create_directory_symlink("../..", folder + "/device");
    std::filesystem::create_directories(sysPath("/dev/block"));
    std::filesystem::create_directory_symlink("../../" + player.diskPath.substr(5),
                                              sysPath("/dev/block/" + disk.loop.deviceNumber()));
    shell("mknod /dev/" + player.diskName + " b 7 " + std::to_string(disk.loop.number));
    if (machine.isMounted(player.minor)) {
      mount(player.diskName);
    }
  }

  void unplug(const std::string& name) override {
    const test::MockPlayer& player = machine.player(name);
    std::filesystem::remove(sysPath("/dev/block/" + disks_[name].loop.deviceNumber()));
    shell("rm -f /dev/" + player.diskName);
    if (machine.isMounted(player.minor)) {
      shell("umount /run/box/" + player.diskName);
    }
    LinuxRig::unplug(name);
  }

  std::vector<OnMedium> content(const std::string& name) override {
    EXPECT_EQ(::fsync(disks_[name].loop.device.get()), 0);
    return contentOfImage(disks_[name].image.get());
  }

  bool isSound(const std::string& name) override {
    return std::system(("fsck.fat -n " + disks_[name].loop.node() + " >/dev/null").c_str()) == 0;
  }

  std::string head(const std::string& name, std::size_t bytes) override {
    std::string read(bytes, '?');
    EXPECT_EQ(::pread(disks_[name].loop.device.get(), read.data(), bytes, 0),
              static_cast<ssize_t>(bytes));
    return read;
  }

  void writeHead(const std::string& name, const std::string& bytes) override {
    EXPECT_EQ(::pwrite(disks_[name].loop.device.get(), bytes.data(), bytes.size(), 0),
              static_cast<ssize_t>(bytes.size()));
  }

  std::int64_t mediumSize(const std::string& name) override {
    std::uint64_t size = 0;
    EXPECT_EQ(::ioctl(disks_[name].loop.device.get(), BLKGETSIZE64, &size), 0);
    return static_cast<std::int64_t>(size);
  }

  // Runs a command, and then has udev notice the change of the disk.
  ScriptOutcome run(std::string_view source, const DiskIdentity& target) override {
    auto outcome = polkit_.run(source, target);
    mainThread.post([this, node = target.node] { notice(node); });
    return outcome;
  }

 private:
  struct LoopDisk {
    FileHandle image;
    test::LoopDevice loop;
  };

  static std::string sysPath(const std::string& below) {
    return std::string(std::getenv("UMOCKDEV_DIR")) + "/sys" + below;
  }

  // The box's mount table shows the fake machine's mounts.
  static void mount(const std::string& disk) {
    shell("mkdir -p /run/box/" + disk + "; mount -t tmpfs /dev/" + disk + " /run/box/" + disk);
  }
  test::UDisksAnswer obeyAndMount(const test::UDisksCall& call) {
    const auto answer = obey(call);
    const std::string disk = call.object();
    if (answer.errorName.empty() && call.member == "Filesystem.Mount") {
      mount(disk);
    } else if (answer.errorName.empty() && call.member == "Filesystem.Unmount") {
      shell("umount /run/box/" + disk);
    }
    return answer;
  }

  void notice(const std::string& node) {
    for (const auto& [name, disk] : disks_) {
      test::MockPlayer& player = machine.player(name);
      if (player.isPlugged && "/dev/" + player.diskName == node) {
        machine.setFileSystem(player, fileSystemOn(disk));
      }
    }
  }
  static std::optional<test::MockFileSystem> fileSystemOn(const LoopDisk& disk) {
    std::array<unsigned char, 512> sector{};
    EXPECT_EQ(::pread(disk.loop.device.get(), sector.data(), sector.size(), 0),
              static_cast<ssize_t>(sector.size()));
    if (std::string(&sector[82], &sector[87]) != "FAT32") {
      return std::nullopt;
    }
    std::array<char, 10> identifier{};
    std::snprintf(identifier.data(), identifier.size(), "%02X%02X-%02X%02X", sector[70], sector[69],
                  sector[68], sector[67]);
    return test::MockFileSystem{"vfat", identifier.data(), std::nullopt};
  }

  std::map<std::string, LoopDisk> disks_;
  PolkitScriptRunner polkit_;
};

std::unique_ptr<BackEnd> createInBox() {
  return test::boxRefusal().empty() ? std::make_unique<BoxBackEnd>() : nullptr;
}

const BackEndKind kBox{"Linux", &createInBox, &test::boxRefusal};

}  // namespace

INSTANTIATE_TEST_SUITE_P(Linux, ScriptRunnerContract, ::testing::Values(kBox), nameOfKind);

}  // namespace fillstation::contract

int main(int argc, char** argv) {
  std::vector<char*> given(argv, argv + argc);
  given.push_back(nullptr);
  testing::InitGoogleTest(&argc, argv);
  const bool hasLoops = ::access("/dev/loop-control", R_OK | W_OK) == 0;
  const auto status = fillstation::test::runInBoxes(
      static_cast<int>(given.size()) - 1, given.data(),
      hasLoops ? "" : "needs root and /dev/loop-control, for disks made of files");
  if (status) {
    return *status;
  }
  fillstation::test::preloadMockUdev(given.data());
  const QCoreApplication application(argc, argv);
  return RUN_ALL_TESTS();
}
