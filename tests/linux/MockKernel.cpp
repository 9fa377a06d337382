#include "MockKernel.h"

#include <umockdev.h>

#include <filesystem>
#include <fstream>

#include "MockUdevDatabase.h"

namespace fillstation::test {

namespace {

// Pairs of names and values with a null behind, as umockdev takes them.
std::vector<char*> listOf(MockKernel::Properties& values) {
  std::vector<char*> list;
  for (auto& [name, value] : values) {
    list.push_back(const_cast<char*>(name.c_str()));
    list.push_back(value.data());
  }
  list.push_back(nullptr);
  return list;
}

std::uint32_t minorOf(std::uint32_t bus, std::uint32_t number) {
  return (bus - 1) * 128 + number - 1;
}

}  // namespace

std::string MockKernel::usbDatabaseId(std::uint32_t bus, std::uint32_t number) {
  return "c189:" + std::to_string(minorOf(bus, number));
}

MockKernel::MockKernel() : testbed_(::umockdev_testbed_new()) {
  gchar* const sys = ::umockdev_testbed_get_sys_dir(testbed_);
  sys_ = sys;
  ::g_free(sys);
  gchar* const root = ::umockdev_testbed_get_root_dir(testbed_);
  root_ = root;
  ::g_free(root);
  mockUdevDatabase() = root_ + "/run-udev-data/";
  std::filesystem::create_directories(mockUdevDatabase());
}

MockKernel::~MockKernel() {
  mockUdevDatabase().clear();
  ::g_object_unref(testbed_);
}

std::string MockKernel::add(const std::string& subsystem, const std::string& name,
                            const std::string& parent, const Properties& attributes,
                            const Properties& properties) {
  Properties ownAttributes = attributes;
  Properties ownProperties = properties;
  gchar* const path = ::umockdev_testbed_add_devicev(
      testbed_, subsystem.c_str(), name.c_str(), parent.empty() ? nullptr : parent.c_str(),
      listOf(ownAttributes).data(), listOf(ownProperties).data());
  paths_.emplace_back(path);
  ::g_free(path);
  return paths_.back();
}

std::string MockKernel::addUsb(const std::string& portName, std::uint32_t bus, std::uint32_t number,
                               const Properties& attributes, const std::string& parent) {
  setUdevDatabase(usbDatabaseId(bus, number), {});
  Properties all = attributes;
  all.insert({"bDeviceClass", "00\n"});
  return add("usb", portName, parent, all,
             {{"DEVTYPE", "usb_device"},
              {"MAJOR", "189"},
              {"MINOR", std::to_string(minorOf(bus, number))},
              {"BUSNUM", std::to_string(1000 + bus).substr(1)},
              {"DEVNUM", std::to_string(1000 + number).substr(1)}});
}

void MockKernel::tell(const std::string& sysPath, const std::string& action) {
  ::umockdev_testbed_uevent(testbed_, sysPath.c_str(), action.c_str());
}

void MockKernel::setUdevDatabase(const std::string& id, const Properties& found) {
  std::ofstream file(mockUdevDatabase() + id);
  file << "I:1\n";
  for (const auto& [name, value] : found) {
    file << "E:" << name << "=" << value << "\n";
  }
}

void MockKernel::removeUdevDatabase(const std::string& id) {
  std::filesystem::remove(mockUdevDatabase() + id);
}

std::string MockKernel::addUnit(const std::string& usbPath, int host, int unit,
                                const std::string& vendor, const std::string& type,
                                const std::string& inquiry) {
  return add("scsi", std::to_string(host) + ":0:0:" + std::to_string(unit), usbPath,
             {{"vendor", vendor + "\n"}, {"type", type + "\n"}, {"inquiry", inquiry}},
             {{"DEVTYPE", "scsi_device"}});
}

std::string MockKernel::addDisk(const std::string& unitPath, const std::string& name, int minor,
                                std::uint64_t sectors, std::uint64_t sequence) {
  return add("block", name, unitPath,
             {{"size", std::to_string(sectors) + "\n"},
              {"diskseq", std::to_string(sequence) + "\n"},
              {"dev", "8:" + std::to_string(minor)}},
             {{"DEVTYPE", "disk"},
              {"DEVNAME", "/dev/" + name},
              {"MAJOR", "8"},
              {"MINOR", std::to_string(minor)}});
}

std::string MockKernel::addDisk(const std::string& usbPath, const std::string& name, int unit,
                                int minor, const std::string& vendor, std::uint64_t sectors,
                                std::uint64_t sequence) {
  return addDisk(addUnit(usbPath, minor / 16, unit, vendor), name, minor, sectors, sequence);
}

std::string MockKernel::addPartition(const std::string& diskPath, const std::string& name,
                                     int number, int minor) {
  return add("block", name, diskPath,
             {{"partition", std::to_string(number) + "\n"}, {"dev", "8:" + std::to_string(minor)}},
             {{"DEVTYPE", "partition"},
              {"DEVNAME", "/dev/" + name},
              {"MAJOR", "8"},
              {"MINOR", std::to_string(minor)}});
}

void MockKernel::addNode(const std::string& name) {
  std::filesystem::create_directories(root_ + "/dev");
  std::ofstream(root_ + "/dev/" + name);
}

void MockKernel::setAttribute(const std::string& sysPath, const std::string& name,
                              const std::string& value) {
  ::umockdev_testbed_set_attribute(testbed_, sysPath.c_str(), name.c_str(), value.c_str());
}

void MockKernel::remove(const std::string& sysPath) {
  // What is below goes first: umockdev forgets the links to it otherwise.
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

MockKernel::Properties databaseOf(const std::optional<MockFileSystem>& fileSystem) {
  if (!fileSystem) {
    return {};
  }
  MockKernel::Properties found{{"ID_FS_USAGE", "filesystem"},
                               {"ID_FS_TYPE", fileSystem->type},
                               {"ID_FS_UUID", fileSystem->identifier}};
  if (fileSystem->label) {
    found["ID_FS_LABEL_ENC"] = *fileSystem->label;
  }
  return found;
}

}  // namespace fillstation::test
