#include "LinuxBackEnd.h"

#include <QDeadlineTimer>
#include <array>
#include <cstdio>

#include "MainLoop.h"

namespace fillstation::contract {

namespace {

// What udev makes of a label's bytes that are not text.
std::string encodedByUdev(const std::string& label) {
  std::string text;
  for (const char byte : label) {
    std::array<char, 5> escape{};
    std::snprintf(escape.data(), escape.size(), "\\x%02x", static_cast<unsigned char>(byte));
    text += static_cast<unsigned char>(byte) < 0x80 ? std::string(1, byte) : escape.data();
  }
  return text;
}

}  // namespace

void LinuxBackEnd::make(const std::string& name, const PlayerWish& wish) {
  test::MockPlayer& player = rig.machine.player(name);
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
    player.fileSystem->label = encodedByUdev(*wish.label);
  }
  if (wish.blank) {
    player.fileSystem.reset();
  }
  made_[name] = player.fileSystem;
}

void LinuxBackEnd::plug(const std::string& name) {
  test::MockPlayer& player = rig.machine.player(name);
  player.fileSystem = made_[name];
  rig.machine.plug(name);
  rig.udisks.drives[name] = {true, false};
  rig.udisks.blocks.push_back({player.diskName, name});
  if (player.hasDisk && player.fileSystem) {
    rig.machine.mount(player.minor, player.fileSystem->label.value_or("1111-AAAA"));
  }
}

void LinuxBackEnd::unplug(const std::string& name) {
  rig.machine.pull(name);
  std::erase_if(rig.udisks.blocks, [&](const auto& block) { return block.drive == name; });
}

bool LinuxBackEnd::await(const std::function<bool()>& condition) {
  const QDeadlineTimer minute(60'000);
  while (!condition() && !minute.hasExpired()) {
    QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents, 5);
  }
  return condition();
}

void LinuxBackEnd::settle() { test::runLoopDry(); }

}  // namespace fillstation::contract
