#include <QDeadlineTimer>

#include "BackEnd.h"
#include "DiskSessionContract.h"
#include "LinuxRig.h"
#include "MainLoop.h"
#include "UsbBusContract.h"

namespace fillstation::contract {

namespace {

// Nothing here runs a command.
class NoScripts : public ScriptRunner {
 public:
  ScriptOutcome run(std::string_view /*source*/, const DiskIdentity& /*target*/) override {
    return {};
  }
};

// The Linux back end over a machine that isn't real. A medium has no content there.
class LinuxBackEnd : public BackEnd {
 public:
  UsbBus& usbBus() override { return rig_.usbBus; }
  std::shared_ptr<DiskSession> createDiskSession() override { return rig_.createSession(); }
  ScriptRunner& scriptRunner() override { return scripts_; }
  FileManager& fileManager() override { return rig_.files; }
  std::string userName() override { return {}; }
  std::string password() override { return {}; }

  void make(const std::string& name, const PlayerWish& wish) override {
    test::MockPlayer& player = rig_.machine.player(name);
    player.product = wish.product;
    player.manufacturer = wish.manufacturer;
    player.serial = wish.serial;
    player.release = wish.release;
    player.vendor = wish.vendor;
    player.vendor.resize(8, ' ');
    player.sizeMiB = wish.sizeMiB;
    player.hasDisk = wish.disk;
    player.fileSystem = test::MockFileSystem();
    if (wish.label) {
      player.fileSystem->label = *wish.label;
    }
    if (wish.blank) {
      player.fileSystem.reset();
    }
    made_[name] = player.fileSystem;
  }

  void plug(const std::string& name) override {
    test::MockPlayer& player = rig_.machine.player(name);
    player.fileSystem = made_[name];
    rig_.machine.plug(name);
    rig_.udisks.drives[name] = {true, false};
    rig_.udisks.blocks.push_back({player.diskName, name});
    if (player.hasDisk && player.fileSystem) {
      rig_.machine.mount(player.minor, player.fileSystem->label.value_or("1111-AAAA"));
    }
  }

  void unplug(const std::string& name) override {
    rig_.machine.pull(name);
    std::erase_if(rig_.udisks.blocks, [&](const auto& block) { return block.drive == name; });
  }

  std::vector<OnMedium> content(const std::string& /*name*/) override { return {}; }
  bool isSound(const std::string& /*name*/) override { return true; }
  std::string head(const std::string& /*name*/, std::size_t /*bytes*/) override { return {}; }
  void writeHead(const std::string& /*name*/, const std::string& /*bytes*/) override {}
  std::int64_t mediumSize(const std::string& /*name*/) override { return 0; }

  bool await(const std::function<bool()>& condition) override {
    const QDeadlineTimer minute(60'000);
    while (!condition() && !minute.hasExpired()) {
      QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents, 5);
    }
    return condition();
  }
  void settle() override { test::runLoopDry(); }

 private:
  test::LinuxRig rig_;
  NoScripts scripts_;
  std::map<std::string, std::optional<test::MockFileSystem>> made_;
};

const BackEndKind kLinux{"Linux", [] { return std::unique_ptr<BackEnd>(new LinuxBackEnd); }};

}  // namespace

INSTANTIATE_TEST_SUITE_P(Linux, UsbBusContract, ::testing::Values(kLinux), nameOfKind);
INSTANTIATE_TEST_SUITE_P(Linux, DiskSessionContract, ::testing::Values(kLinux), nameOfKind);

}  // namespace fillstation::contract
