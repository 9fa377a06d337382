#include "MockMachine.h"

#include <sys/sysmacros.h>

#include <algorithm>
#include <filesystem>
#include <fstream>

#include "MockMounts.h"

namespace fillstation::test {

namespace {

constexpr unsigned int kMajor = 8;
constexpr int kMinorsPerDisk = 16;

std::string databaseId(int minor) { return "b8:" + std::to_string(minor); }

std::string escaped(const std::string& path) {
  std::string text;
  for (const char letter : path) {
    text += letter == ' ' ? std::string("\\040") : std::string(1, letter);
  }
  return text;
}

}  // namespace

MockMachine::MockMachine() : table_(folder.path("mountinfo")) { writeTable(); }

MockMachine::~MockMachine() { mockMounts().clear(); }

MockPlayer& MockMachine::plug(const std::string& name) {
  MockPlayer& player = players_[name];
  player.isPlugged = true;
  player.diskName.clear();
  player.number = ++lastNumber_;
  player.port = "1-" + std::to_string(player.number);
  char release[5];
  std::snprintf(release, sizeof(release), "%04x", static_cast<unsigned int>(player.release));
  MockKernel::Properties attributes{{"manufacturer", player.manufacturer + "\n"},
                                    {"serial", player.serial + "\n"},
                                    {"bcdDevice", std::string(release) + "\n"}};
  if (player.product) {
    attributes["product"] = *player.product + "\n";
  }
  player.usbPath = kernel.addUsb(player.port, 1, player.number, attributes);
  if (player.hasDisk) {
    addDisk(player);
  }
  kernel.tell(player.usbPath, "add");
  return player;
}

void MockMachine::addDisk(MockPlayer& player) {
  int letter = 1;
  const auto nameOf = [](int index) { return std::string("sd") + static_cast<char>('a' + index); };
  while (byBlock(nameOf(letter)) != nullptr || isTaken(nameOf(letter))) {
    ++letter;
  }
  player.diskName = nameOf(letter);
  player.minor = letter * kMinorsPerDisk;
  player.diskPath =
      kernel.addDisk(player.usbPath, player.diskName, 0, player.minor, player.vendor,
                     static_cast<std::uint64_t>(player.sizeMiB) * 2048, ++lastSequence_);
  kernel.setUdevDatabase(databaseId(player.minor), databaseOf(player.fileSystem));
}

void MockMachine::pull(const std::string& name) {
  MockPlayer& player = players_[name];
  while (isMounted(player.minor)) {
    unmount(player.minor);
  }
  kernel.tell(player.usbPath, "remove");
  kernel.remove(player.usbPath);
  kernel.removeUdevDatabase(databaseId(player.minor));
  player.isPlugged = false;
}

MockPlayer* MockMachine::byBlock(const std::string& blockName) {
  for (auto& [name, player] : players_) {
    if (player.isPlugged && !player.diskName.empty() && blockName.starts_with(player.diskName)) {
      return &player;
    }
  }
  return nullptr;
}

void MockMachine::setFileSystem(MockPlayer& player,
                                const std::optional<MockFileSystem>& fileSystem) {
  player.fileSystem = fileSystem;
  kernel.setUdevDatabase(databaseId(player.minor), databaseOf(fileSystem));
}

void MockMachine::changeMedium(MockPlayer& player, std::int64_t sizeMiB) {
  setFileSystem(player, std::nullopt);
  kernel.setAttribute(player.diskPath, "diskseq", std::to_string(++lastSequence_) + "\n");
  kernel.setAttribute(player.diskPath, "size", std::to_string(sizeMiB * 2048) + "\n");
  kernel.tell(player.diskPath, "change");
}

std::string MockMachine::mount(int minor, const std::string& folderName) {
  std::string path = folder.path("media/" + folderName);
  while (std::filesystem::exists(path)) {
    path += '1';
  }
  std::filesystem::create_directories(path);
  mockMounts()[path] = ::makedev(kMajor, static_cast<unsigned int>(minor));
  mounts_.push_back({minor, path});
  writeTable();
  return path;
}

void MockMachine::unmount(int minor) {
  const auto found = std::find_if(mounts_.rbegin(), mounts_.rend(),
                                  [minor](const auto& mount) { return mount.minor == minor; });
  std::filesystem::remove(found->path);
  mockMounts().erase(found->path);
  mounts_.erase(std::next(found).base());
  writeTable();
}

bool MockMachine::isMounted(int minor) const {
  return std::any_of(mounts_.begin(), mounts_.end(),
                     [minor](const auto& mount) { return mount.minor == minor; });
}

void MockMachine::writeTable() const {
  std::ofstream table(table_);
  table << "21 1 0:20 / / rw - overlay overlay rw\n";
  for (const auto& mount : mounts_) {
    table << "30 21 8:" << mount.minor << " / " << escaped(mount.path)
          << " rw,nosuid shared:1 - vfat /dev/x rw\n";
  }
}

}  // namespace fillstation::test
