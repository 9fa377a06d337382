#include "BoxBackEnd.h"

#include <fcntl.h>
#include <linux/fs.h>
#include <sys/ioctl.h>
#include <unistd.h>

#include <array>
#include <cstdlib>
#include <filesystem>

#include "FatImage.h"
#include "ScriptBox.h"

namespace fillstation::contract {

namespace {

void shell(const std::string& command) { EXPECT_EQ(std::system(command.c_str()), 0) << command; }

std::string lastPart(const std::string& path) { return path.substr(path.rfind('/') + 1); }

}  // namespace

BoxBackEnd::BoxBackEnd()
    : polkit_(
          "/run/box/agent", [this](const DiskIdentity& player) { return known.willWipe(player); },
          [this](const DiskIdentity& player) { known.spared(player); }) {
  platform().workers = &workers;
  udisks.handler = [this](const test::UDisksCall& call) { return obeyAndMount(call); };
  // What the box's root sees: this machine's devices, and nodes that nobody outside has.
  shell("sh '" BOX_DISKS_SCRIPT "' '" + sysPath("") + "'");
}

BoxBackEnd::~BoxBackEnd() { platform() = {}; }

std::string BoxBackEnd::password() { return test::kBossPassword; }

std::string BoxBackEnd::sysPath(const std::string& below) const {
  return std::string(std::getenv("UMOCKDEV_DIR")) + "/sys" + below;
}

void BoxBackEnd::make(const std::string& name, const PlayerWish& wish) {
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

void BoxBackEnd::plug(const std::string& name) {
  LinuxRig::plug(name);
  const test::MockPlayer& player = machine.player(name);
  const LoopDisk& disk = disks_[name];
  machine.setAttribute(player.usbPath, "busnum", "1\n");
  machine.setAttribute(player.usbPath, "devnum", std::to_string(player.number) + "\n");
  machine.setAttribute(player.diskPath, "removable", "1\n");
  const std::string folder = sysPath(player.diskPath.substr(std::string("/sys").size()));
  std::filesystem::create_directory(folder + "/holders");
  std::filesystem::create_directory_symlink("..", folder + "/device");
  std::filesystem::create_directories(sysPath("/dev/block"));
  std::filesystem::create_directory_symlink("../../" + player.diskPath.substr(5),
                                            sysPath("/dev/block/" + disk.loop.deviceNumber()));
  shell("mknod /dev/" + player.diskName + " b 7 " + std::to_string(disk.loop.number));
  if (machine.isMounted(player.minor)) {
    shell("mkdir -p /run/box/" + player.diskName + "; mount -t tmpfs /dev/" + player.diskName +
          " /run/box/" + player.diskName);
  }
}

void BoxBackEnd::unplug(const std::string& name) {
  const test::MockPlayer& player = machine.player(name);
  std::filesystem::remove(sysPath("/dev/block/" + disks_[name].loop.deviceNumber()));
  shell("rm -f /dev/" + player.diskName);
  if (machine.isMounted(player.minor)) {
    shell("umount /run/box/" + player.diskName);
  }
  LinuxRig::unplug(name);
}

// The mount table of the box shows what the stand-in has mounted.
test::UDisksAnswer BoxBackEnd::obeyAndMount(const test::UDisksCall& call) {
  const auto answer = obey(call);
  const std::string disk = lastPart(call.path);
  if (answer.errorName.empty() && call.member == "Filesystem.Mount") {
    shell("mkdir -p /run/box/" + disk + "; mount -t tmpfs /dev/" + disk + " /run/box/" + disk);
  } else if (answer.errorName.empty() && call.member == "Filesystem.Unmount") {
    shell("umount /run/box/" + disk);
  }
  return answer;
}

std::vector<OnMedium> BoxBackEnd::content(const std::string& name) {
  EXPECT_EQ(::fsync(disks_[name].loop.device.get()), 0);
  const auto fat = FatImage::open(disks_[name].image.get());
  const auto root = fat ? fat->list(fat->layout().rootCluster) : std::nullopt;
  EXPECT_TRUE(root);
  std::vector<OnMedium> all;
  for (const auto& entry : root ? root->entries : std::vector<FatEntry>()) {
    all.push_back({entry.name, {}});
  }
  return all;
}

bool BoxBackEnd::isSound(const std::string& name) {
  return std::system(("fsck.fat -n " + disks_[name].loop.node() + " >/dev/null").c_str()) == 0;
}

std::string BoxBackEnd::head(const std::string& name, std::size_t bytes) {
  std::string read(bytes, '?');
  EXPECT_EQ(::pread(disks_[name].loop.device.get(), read.data(), bytes, 0),
            static_cast<ssize_t>(bytes));
  return read;
}

void BoxBackEnd::writeHead(const std::string& name, const std::string& bytes) {
  EXPECT_EQ(::pwrite(disks_[name].loop.device.get(), bytes.data(), bytes.size(), 0),
            static_cast<ssize_t>(bytes.size()));
}

std::int64_t BoxBackEnd::mediumSize(const std::string& name) {
  std::uint64_t size = 0;
  EXPECT_EQ(::ioctl(disks_[name].loop.device.get(), BLKGETSIZE64, &size), 0);
  return static_cast<std::int64_t>(size);
}

ScriptOutcome BoxBackEnd::NoticedRunner::run(std::string_view source, const DiskIdentity& target) {
  auto outcome = owner_.polkit_.run(source, target);
  owner_.mainThread.post([&owner = owner_, node = target.node] { owner.notice(node); });
  return outcome;
}

void BoxBackEnd::notice(const std::string& node) {
  for (const auto& [name, disk] : disks_) {
    test::MockPlayer& player = machine.player(name);
    if (player.isPlugged && "/dev/" + player.diskName == node) {
      machine.setFileSystem(player, fileSystemOn(disk));
    }
  }
}

std::optional<test::MockFileSystem> BoxBackEnd::fileSystemOn(const LoopDisk& disk) const {
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

}  // namespace fillstation::contract
