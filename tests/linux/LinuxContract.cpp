#include <filesystem>

#include "DiskSessionContract.h"
#include "FileManagerContract.h"
#include "LinuxRig.h"
#include "UsbBusContract.h"

namespace fillstation::contract {

namespace {

const BackEndKind kLinux{"Linux", [] { return std::unique_ptr<BackEnd>(new test::LinuxRig); }};

}  // namespace

INSTANTIATE_TEST_SUITE_P(Linux, UsbBusContract, ::testing::Values(kLinux), nameOfKind);
INSTANTIATE_TEST_SUITE_P(Linux, DiskSessionContract, ::testing::Values(kLinux), nameOfKind);

}  // namespace fillstation::contract

namespace fillstation::test {

namespace {

// One player with a mounted volume, which is a folder.
class LinuxFiles : public FileManagerBackEnd {
 public:
  LinuxFiles() : mount_(rig_.machine.mount(16, "BOOKS")) {}

  FileManager& files() override { return rig_.files; }
  std::string mountPath() override { return mount_; }
  DiskIdentity owner() override { return owner_; }
  void vanish() override {
    std::filesystem::remove_all(mount_);
    rig_.machine.pull("a");
  }

 private:
  LinuxRig rig_;
  const DiskIdentity owner_ = rig_.plugIn("a");
  const std::string mount_;
};

std::unique_ptr<FileManagerBackEnd> makeLinuxFiles() { return std::make_unique<LinuxFiles>(); }

}  // namespace

INSTANTIATE_TEST_SUITE_P(Linux, FileManagerContract,
                         testing::Values(FileManagerBackEndMaker{"Linux", &makeLinuxFiles}));

}  // namespace fillstation::test
