#include "MountedBackEnd.h"

#include <fcntl.h>
#include <unistd.h>

#include <QDeadlineTimer>
#include <cstdlib>
#include <filesystem>
#include <thread>

#include "AgentShell.h"
#include "FileHandle.h"
#include "MainLoop.h"
#include "RootsHand.h"

namespace fillstation::contract {

namespace {

// Where the gadgets keep their media.
std::string medium(const std::string& name) { return "/box/players/" + name; }

// Waits outside the main loop, which must not take in an event before everything about it is there.
bool holdsSoon(const std::function<bool()>& condition) {
  const QDeadlineTimer minute(60'000);
  bool holds = condition();
  while (!holds && !minute.hasExpired()) {
    std::this_thread::sleep_for(std::chrono::milliseconds(50));
    holds = condition();
  }
  return holds;
}

bool isGone(const std::string& disk) { return !std::filesystem::exists("/sys/block/" + disk); }

LinuxPlaces places() {
  LinuxPlaces places;
  places.parts.agent = agentOf(thisProgram());
  return places;
}

}  // namespace

MountedBackEnd::MountedBackEnd() : system_({stop_, mainThread_, workers_, log_}, places()) {
  ports().mainThread = &mainThread_;
  ports().workers = &workers_;
  system_.installInto(ports());
}

MountedBackEnd::~MountedBackEnd() {
  RootsHand::ask("remove_all", {});
  for (const auto& [name, disk] : disks_) {
    EXPECT_TRUE(holdsSoon([&disk = disk] { return isGone(disk); })) << disk;
  }
  stop_.request();
  workers_.joinAll();
  ports() = {};
}

void MountedBackEnd::make(const std::string& name, const PlayerWish& wish) {
  const QString disk = QString::fromStdString(name);
  RootsHand::ask("fill", {disk},
                 {{"size_mb", static_cast<qint64>(wish.sizeMiB)},
                  {"system", "fat32"},
                  {"label", QString::fromStdString(wish.label.value())}});
  RootsHand::ask("add", {disk});
}

void MountedBackEnd::plug(const std::string& name) {
  RootsHand::ask("plug", {QString::fromStdString(name)});
  const QJsonValue disk = RootsHand::ask("disk", {QString::fromStdString(name), 60});
  ASSERT_TRUE(disk.isString());
  disks_[name] = disk.toString().toStdString();
  const std::string command =
      "udisksctl mount --no-user-interaction -b /dev/" + disks_[name] + " >/dev/null 2>&1";
  EXPECT_TRUE(holdsSoon([&command] { return std::system(command.c_str()) == 0; })) << command;
}

void MountedBackEnd::unplug(const std::string& name) {
  RootsHand::ask("pull", {QString::fromStdString(name)});
  EXPECT_TRUE(holdsSoon([&] { return isGone(disks_[name]); }));
}

std::vector<OnMedium> MountedBackEnd::content(const std::string& name) {
  const FileHandle file(::open(medium(name).c_str(), O_RDONLY | O_CLOEXEC));
  return contentOfImage(file.get());
}

// While a volume is mounted its boot sector says so, which is no damage.
bool MountedBackEnd::isSound(const std::string& name) {
  constexpr off_t kState = 0x41;
  const std::string copy = folder_.path(name);
  std::filesystem::copy_file(medium(name), copy, std::filesystem::copy_options::overwrite_existing);
  const FileHandle file(::open(copy.c_str(), O_WRONLY | O_CLOEXEC));
  EXPECT_EQ(::pwrite(file.get(), "", 1, kState), 1);
  return std::system(("/usr/sbin/fsck.fat -n " + copy).c_str()) == 0;
}

bool MountedBackEnd::await(const std::function<bool()>& condition) {
  const QDeadlineTimer minute(60'000);
  while (!condition() && !minute.hasExpired()) {
    QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents, 5);
  }
  return condition();
}

void MountedBackEnd::settle() { test::runLoopDry(); }

}  // namespace fillstation::contract
