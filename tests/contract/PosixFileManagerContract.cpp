#include <filesystem>

#include "FileManagerContract.h"
#include "PosixFileManager.h"

namespace fillstation::test {
namespace {

// A folder in the place of a mounted volume.
class PosixBackEnd : public FileManagerBackEnd, private VolumeOwner {
 public:
  FileManager& files() override { return files_; }
  std::string mountPath() override { return mount_; }
  DiskIdentity owner() override { return {"/dev/sdb", 65540}; }
  void vanish() override { std::filesystem::remove_all(mount_); }

 private:
  std::shared_ptr<VolumeMedium> mediumOf(int /*rootDescriptor*/, const std::string& mountPath,
                                         const DiskIdentity& asked) override {
    const DiskIdentity known = owner();
    const bool isOurs =
        mountPath == mount_ && asked.node == known.node && asked.usbHandle == known.usbHandle;
    return isOurs ? std::make_shared<VolumeMedium>() : nullptr;
  }
  std::optional<std::string> remount(const DiskIdentity& /*owner*/,
                                     const std::string& mountPath) override {
    return mountPath;
  }

  TempFolder folder_;
  std::string mount_ = folder_.makeFolder("media/PLAYER");
  StopSource stop_;
  PosixFileManager files_{*this, stop_};
};

std::unique_ptr<FileManagerBackEnd> makePosixBackEnd() { return std::make_unique<PosixBackEnd>(); }

INSTANTIATE_TEST_SUITE_P(Posix, FileManagerContract,
                         testing::Values(FileManagerBackEndMaker{"folder", &makePosixBackEnd}));

}  // namespace
}  // namespace fillstation::test
