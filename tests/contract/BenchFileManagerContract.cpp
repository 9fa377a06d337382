#include "BenchBackEnd.h"
#include "FileManagerContract.h"

namespace fillstation::test {
namespace {

// The bench with one mounted player.
class BenchFiles : public FileManagerBackEnd {
 public:
  BenchFiles() {
    bench_.make("a", contract::PlayerWish{});
    bench_.plug("a");
    EXPECT_TRUE(bench_.usbBus().open("IOUSBDevice"));
    const auto device = bench_.usbBus().watchAttach([](UsbDeviceIterator&) {})->next();
    owner_ = {"/dev/vp0", device->handle()};
    const auto disk = bench_.createDiskSession()->diskFromName("vp0");
    EXPECT_TRUE(bench_.await([&] { return disk->copyDescription()->volumePath.has_value(); }));
  }

  FileManager& files() override { return bench_.fileManager(); }
  std::string mountPath() override { return bench_.folder.path("volumes/BOOKS"); }
  DiskIdentity owner() override { return owner_; }
  void vanish() override { bench_.unplug("a"); }

 private:
  contract::BenchBackEnd bench_;
  DiskIdentity owner_;
};

std::unique_ptr<FileManagerBackEnd> makeBenchFiles() { return std::make_unique<BenchFiles>(); }

INSTANTIATE_TEST_SUITE_P(Bench, FileManagerContract,
                         testing::Values(FileManagerBackEndMaker{"bench", &makeBenchFiles}));

}  // namespace
}  // namespace fillstation::test
