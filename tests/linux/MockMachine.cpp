#include "MockMachine.h"

#include <sys/sysmacros.h>
#include <umockdev.h>

#include <algorithm>
#include <filesystem>
#include <fstream>

namespace fillstation::test {

namespace {

constexpr unsigned int kMajor = 8;
constexpr int kMinorsPerDisk = 16;

std::string databaseId(int minor) { return "b8:" + std::to_string(minor); }

// Pairs of names and values with a null behind, as umockdev takes them.
std::vector<char*> listOf(MockMachine::Properties& values) {
  std::vector<char*> list;
  for (auto& [name, value] : values) {
    list.push_back(const_cast<char*>(name.c_str()));
    list.push_back(value.data());
  }
  list.push_back(nullptr);
  return list;
}

std::string taken(gchar* text) {
  std::string copy(text);
  g_free(text);
  return copy;
}

std::string usbMinor(std::uint32_t bus, std::uint32_t number) {
  return std::to_string((bus - 1) * 128 + number - 1);
}

// The kernel's facts about a disk's node.
MockMachine::Properties nodeProperties(const std::string& name, const std::string& type,
                                       int minor) {
  return {{"DEVTYPE", type},
          {"DEVNAME", "/dev/" + name},
          {"MAJOR", std::to_string(kMajor)},
          {"MINOR", std::to_string(minor)}};
}

std::string escaped(const std::string& path) {
  std::string text;
  for (const char letter : path) {
    text += letter == ' ' ? std::string("\\040") : std::string(1, letter);
  }
  return text;
}

}  // namespace

MockMachine::MockMachine()
    : testbed_(::umockdev_testbed_new()),
      root_(taken(::umockdev_testbed_get_root_dir(testbed_))),
      sys_(taken(::umockdev_testbed_get_sys_dir(testbed_))),
      table_(folder.path("mountinfo")) {
  mockCalls().udevDatabase = root_ + "/run-udev-data/";
  mockCalls().mountTable = table_;
  std::filesystem::create_directories(mockCalls().udevDatabase);
  writeTable();
}

MockMachine::~MockMachine() {
  mockCalls() = {};
  ::g_object_unref(testbed_);
}

MockPlayer& MockMachine::plug(const std::string& name) {
  MockPlayer& player = players_[name];
  player.isPlugged = true;
  player.diskName.clear();
  player.number = ++lastNumber_;
  player.port = "1-" + std::to_string(player.number);
  char release[5];
  std::snprintf(release, sizeof(release), "%04x", static_cast<unsigned int>(player.release));
  Properties attributes{{"manufacturer", player.manufacturer + "\n"},
                        {"serial", player.serial + "\n"},
                        {"bcdDevice", std::string(release) + "\n"}};
  if (player.product) {
    attributes["product"] = *player.product + "\n";
  }
  player.usbPath = addUsb(player.port, 1, player.number, attributes);
  if (player.disk) {
    giveDisk(player);
  }
  tell(player.usbPath, "add");
  return player;
}

void MockMachine::giveDisk(MockPlayer& player) {
  int letter = 1;
  const auto nameOf = [](int index) { return std::string("sd") + static_cast<char>('a' + index); };
  while (byBlock(nameOf(letter)) != nullptr || isTaken(nameOf(letter))) {
    ++letter;
  }
  player.diskName = nameOf(letter);
  player.minor = letter * kMinorsPerDisk;
  std::string vendor = player.vendor;
  vendor.resize(8, ' ');
  player.diskPath = addDisk(addUnit(player.usbPath, letter, 0, "0", "", vendor), player.diskName,
                            player.minor, player.sizeMiB);
  setUdevDatabase(databaseId(player.minor), databaseOf(player.fileSystem));
}

void MockMachine::pull(const std::string& name) {
  MockPlayer& player = players_[name];
  while (isMounted(player.minor)) {
    unmount(player.minor);
  }
  tell(player.usbPath, "remove");
  remove(player.usbPath);
  removeUdevDatabase(databaseId(player.minor));
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
  setUdevDatabase(databaseId(player.minor), databaseOf(fileSystem));
}

void MockMachine::changeMedium(MockPlayer& player, std::int64_t sizeMiB) {
  setFileSystem(player, std::nullopt);
  setAttribute(player.diskPath, "diskseq", std::to_string(++lastSequence_) + "\n");
  setAttribute(player.diskPath, "size", std::to_string(sizeMiB * 2048) + "\n");
  tell(player.diskPath, "change");
}

void MockMachine::addPartition(const MockPlayer& player, int number,
                               const std::optional<MockFileSystem>& fileSystem) {
  const std::string name = player.diskName + std::to_string(number);
  const int minor = player.minor + number;
  add("block", name, player.diskPath,
      {{"partition", std::to_string(number) + "\n"}, {"dev", "8:" + std::to_string(minor)}},
      nodeProperties(name, "partition", minor));
  setUdevDatabase(databaseId(minor), databaseOf(fileSystem));
}

std::string MockMachine::mount(int minor, const std::string& folderName) {
  std::string path = folder.path("media/" + folderName);
  while (std::filesystem::exists(path)) {
    path += '1';
  }
  std::filesystem::create_directories(path);
  mockCalls().mounts[path] = ::makedev(kMajor, static_cast<unsigned int>(minor));
  mounts_.push_back({minor, path});
  writeTable();
  return path;
}

void MockMachine::unmount(int minor) {
  const auto found = std::find_if(mounts_.rbegin(), mounts_.rend(),
                                  [minor](const auto& mount) { return mount.minor == minor; });
  std::filesystem::remove(found->path);
  mockCalls().mounts.erase(found->path);
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

std::string MockMachine::add(const std::string& subsystem, const std::string& name,
                             const std::string& parent, const Properties& attributes,
                             const Properties& properties) {
  Properties ownAttributes = attributes;
  Properties ownProperties = properties;
  paths_.push_back(taken(::umockdev_testbed_add_devicev(
      testbed_, subsystem.c_str(), name.c_str(), parent.empty() ? nullptr : parent.c_str(),
      listOf(ownAttributes).data(), listOf(ownProperties).data())));
  return paths_.back();
}

std::string MockMachine::addUsb(const std::string& portName, std::uint32_t bus,
                                std::uint32_t number, const Properties& attributes,
                                const std::string& parent) {
  setUdevDatabase(usbDatabaseId(bus, number));
  Properties all = attributes;
  all.insert({{"bDeviceClass", "00\n"}, {"busnum", std::to_string(bus) + "\n"}});
  return add("usb", portName, parent, all,
             {{"DEVTYPE", "usb_device"},
              {"MAJOR", "189"},
              {"MINOR", usbMinor(bus, number)},
              {"BUSNUM", std::to_string(1000 + bus).substr(1)},
              {"DEVNUM", std::to_string(1000 + number).substr(1)}});
}

std::string MockMachine::addUnit(const std::string& usbPath, int host, int unit,
                                 const std::string& type, const std::string& inquiry,
                                 const std::string& vendor) {
  return add("scsi", std::to_string(host) + ":0:0:" + std::to_string(unit), usbPath,
             {{"vendor", vendor + "\n"}, {"type", type + "\n"}, {"inquiry", inquiry}},
             {{"DEVTYPE", "scsi_device"}});
}

std::string MockMachine::addDisk(const std::string& unitPath, const std::string& name, int minor,
                                 std::int64_t sizeMiB) {
  const std::string parent = unitPath + "/block";
  std::filesystem::create_directories(root_ + parent);
  return add("block", name, parent,
             {{"size", std::to_string(sizeMiB * 2048) + "\n"},
              {"diskseq", std::to_string(++lastSequence_) + "\n"},
              {"dev", "8:" + std::to_string(minor)}},
             nodeProperties(name, "disk", minor));
}

void MockMachine::addNode(const std::string& name) const {
  std::filesystem::create_directories(root_ + "/dev");
  std::ofstream(root_ + "/dev/" + name);
}

void MockMachine::setAttribute(const std::string& sysPath, const std::string& name,
                               const std::string& value) {
  ::umockdev_testbed_set_attribute(testbed_, sysPath.c_str(), name.c_str(), value.c_str());
}

void MockMachine::tell(const std::string& sysPath, const std::string& action) {
  ::umockdev_testbed_uevent(testbed_, sysPath.c_str(), action.c_str());
}

void MockMachine::remove(const std::string& sysPath) {
  // Children first: otherwise umockdev forgets their links.
  const auto isGoing = [&sysPath](const std::string& path) {
    return path == sysPath || path.starts_with(sysPath + "/");
  };
  for (auto path = paths_.rbegin(); path != paths_.rend(); ++path) {
    if (isGoing(*path)) {
      ::umockdev_testbed_remove_device(testbed_, path->c_str());
      std::filesystem::remove(sys_ + "/block/" + path->substr(path->rfind('/') + 1));
    }
  }
  std::erase_if(paths_, isGoing);
}

void MockMachine::setUdevDatabase(const std::string& id, const Properties& found) const {
  std::ofstream file(mockCalls().udevDatabase + id);
  file << "I:1\n";
  for (const auto& [name, value] : found) {
    file << "E:" << name << "=" << value << "\n";
  }
}

void MockMachine::removeUdevDatabase(const std::string& id) const {
  std::filesystem::remove(mockCalls().udevDatabase + id);
}

std::string MockMachine::usbDatabaseId(std::uint32_t bus, std::uint32_t number) {
  return "c189:" + usbMinor(bus, number);
}

MockMachine::Properties databaseOf(const std::optional<MockFileSystem>& fileSystem) {
  if (!fileSystem) {
    return {};
  }
  MockMachine::Properties found{{"ID_FS_USAGE", "filesystem"},
                                {"ID_FS_TYPE", fileSystem->type},
                                {"ID_FS_UUID", fileSystem->identifier}};
  if (fileSystem->label) {
    found["ID_FS_LABEL_ENC"] = *fileSystem->label;
  }
  return found;
}

}  // namespace fillstation::test
