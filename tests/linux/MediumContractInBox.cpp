#include "MediumContract.h"

#include <fcntl.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <QDeadlineTimer>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <array>
#include <cstdlib>
#include <filesystem>
#include <thread>

#include "AgentShell.h"
#include "FileHandle.h"
#include "LinuxSystem.h"
#include "MainLoop.h"
#include "TestPlatform.h"
#include "ThreadWorkers.h"

namespace fillstation::contract {

namespace {

// The hands as root that the box of tests/vm lends to a program in it: guest/helper.py, listening
// at a socket. There are none on any other machine.
const std::string kHand = "/run/box-hand";

// The helper's answer to one request, a line of text each.
std::string answerTo(const std::string& request) {
  const FileHandle link(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0));
  sockaddr_un address{};
  address.sun_family = AF_UNIX;
  kHand.copy(address.sun_path, sizeof(address.sun_path) - 1);
  if (::connect(link.get(), reinterpret_cast<sockaddr*>(&address), sizeof(address)) != 0 ||
      ::send(link.get(), request.data(), request.size(), 0) !=
          static_cast<ssize_t>(request.size())) {
    return "{\"error\": \"no hand\"}";
  }
  std::string answer;
  std::array<char, 65536> piece;
  ssize_t size = 0;
  while ((size = ::read(link.get(), piece.data(), piece.size())) > 0) {
    answer.append(piece.data(), static_cast<std::size_t>(size));
  }
  return answer;
}

// Asks for one of the helper's operations and waits; undefined, and the test has failed, when it
// could not be done.
QJsonValue askHand(const std::string& operation, const QJsonArray& arguments,
                   const QJsonObject& named = {}) {
  const QJsonObject request{
      {"op", QString::fromStdString(operation)}, {"args", arguments}, {"named", named}};
  const QByteArray line = QJsonDocument(request).toJson(QJsonDocument::Compact) + '\n';
  const std::string answer = answerTo(line.toStdString());
  const QJsonObject read = QJsonDocument::fromJson(QByteArray::fromStdString(answer)).object();
  if (!read.contains("result")) {
    ADD_FAILURE() << operation << ": " << answer;
  }
  return read["result"];
}

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
  places.agent = agentOf(thisProgram());
  return places;
}

// The Linux back end over the machine that it runs on: its kernel, udev, UDisks2 and polkit.
// Players are USB gadgets with FAT on them, made and pulled by root's hand. Main thread.
class MountedBackEnd : public BackEnd {
 public:
  MountedBackEnd() : system_({stop_, mainThread_, workers_, log_}, places()) {
    platform().mainThread = &mainThread_;
    platform().workers = &workers_;
    system_.installInto(platform());
  }
  // Leaves no player behind.
  ~MountedBackEnd() override {
    askHand("remove_all", {});
    for (const auto& [name, disk] : disks_) {
      EXPECT_TRUE(holdsSoon([&disk = disk] { return isGone(disk); })) << disk;
    }
    stop_.request();
    workers_.joinAll();
    platform() = {};
  }

  UsbBus& usbBus() override { return *platform().usbBus; }
  std::shared_ptr<DiskSession> createDiskSession() override {
    return platform().createDiskSession();
  }
  ScriptRunner& scriptRunner() override { return *platform().scriptRunner; }
  FileManager& fileManager() override { return *platform().fileManager; }
  std::string userName() override { return "admin"; }
  std::string password() override { return "open sesame"; }

  void make(const std::string& name, const PlayerWish& wish) override {
    const QString disk = QString::fromStdString(name);
    askHand("fill", {disk},
            {{"size_mb", static_cast<qint64>(wish.sizeMiB)},
             {"system", "fat32"},
             {"label", QString::fromStdString(wish.label.value())}});
    askHand("add", {disk});
  }
  // Returns when the player's volume is mounted, the way a desktop does it.
  void plug(const std::string& name) override {
    askHand("plug", {QString::fromStdString(name)});
    const QJsonValue disk = askHand("disk", {QString::fromStdString(name), 60});
    ASSERT_TRUE(disk.isString());
    disks_[name] = disk.toString().toStdString();
    const std::string command =
        "udisksctl mount --no-user-interaction -b /dev/" + disks_[name] + " >/dev/null 2>&1";
    EXPECT_TRUE(holdsSoon([&command] { return std::system(command.c_str()) == 0; })) << command;
  }
  // Returns when the kernel knows the disk no more.
  void unplug(const std::string& name) override {
    askHand("pull", {QString::fromStdString(name)});
    EXPECT_TRUE(holdsSoon([&] { return isGone(disks_[name]); }));
  }

  std::vector<OnMedium> content(const std::string& name) override {
    const FileHandle file(::open(medium(name).c_str(), O_RDONLY | O_CLOEXEC));
    return contentOfImage(file.get());
  }
  // The boot sector of a mounted volume is marked, which is no damage.
  bool isSound(const std::string& name) override {
    constexpr off_t kState = 0x41;
    const std::string copy = folder_.path(name);
    std::filesystem::copy_file(medium(name), copy,
                               std::filesystem::copy_options::overwrite_existing);
    const FileHandle file(::open(copy.c_str(), O_WRONLY | O_CLOEXEC));
    EXPECT_EQ(::pwrite(file.get(), "", 1, kState), 1);
    return std::system(("/usr/sbin/fsck.fat -n " + copy).c_str()) == 0;
  }
  bool await(const std::function<bool()>& condition) override {
    return test::runLoopAMinute(condition);
  }
  void settle() override { test::runLoopDry(); }

 private:
  std::map<std::string, std::string> disks_;  // "a" -> "sdb"
  test::TempFolder folder_;
  test::TestLog log_;
  StopSource stop_;
  QtMainThread mainThread_{stop_};
  ThreadWorkers workers_{stop_};
  LinuxSystem system_;
};

std::unique_ptr<BackEnd> createMounted() {
  const bool hasHand = ::access(kHand.c_str(), R_OK | W_OK) == 0;
  return hasHand ? std::make_unique<MountedBackEnd>() : nullptr;
}

std::string& noHand() {
  static std::string text = "needs real players: runs in the box of tests/vm";
  return text;
}

const BackEndKind kMounted{"Linux", &createMounted, &noHand};

}  // namespace

INSTANTIATE_TEST_SUITE_P(Linux, MediumContract, ::testing::Values(kMounted), nameOfKind);

}  // namespace fillstation::contract
