#include "LinuxRig.h"

#include "MainLoop.h"

namespace fillstation::test {

namespace {

std::string lastPart(const std::string& path) { return path.substr(path.rfind('/') + 1); }

UDisksAnswer error(const std::string& name) { return {name, "The stand-in says so.", {}, false}; }

}  // namespace

LinuxRig::LinuxRig() {
  udisks.handler = [this](const UDisksCall& call) { return obey(call); };
  machine.isTaken = [this](const std::string& name) { return known.remembers(name); };
}

LinuxRig::~LinuxRig() {
  stop.request();
  workers.joinAll();
}

UDisksAnswer LinuxRig::obey(const UDisksCall& call) {
  const std::string object = lastPart(call.path);
  if (call.member == "Filesystem.Mount") {
    return mount(object);
  }
  if (call.member == "Filesystem.Unmount") {
    return unmount(object);
  }
  if (call.member == "Drive.Eject") {
    machine.changeMedium(machine.player(object), 0);
  } else if (call.member == "Drive.PowerOff") {
    machine.pull(object);
  }
  return {};
}

UDisksAnswer LinuxRig::mount(const std::string& blockName) {
  MockPlayer* const player = machine.byBlock(blockName);
  if (player == nullptr || !player->fileSystem) {
    return error("org.freedesktop.DBus.Error.UnknownMethod");
  }
  if (machine.isMounted(player->minor)) {
    return error("org.freedesktop.UDisks2.Error.AlreadyMounted");
  }
  const auto& fileSystem = *player->fileSystem;
  const std::string path =
      machine.mount(player->minor, fileSystem.label.value_or(fileSystem.identifier));
  return {"", "", {QString::fromStdString(path)}, false};
}

UDisksAnswer LinuxRig::unmount(const std::string& blockName) {
  MockPlayer* const player = machine.byBlock(blockName);
  if (player == nullptr || !machine.isMounted(player->minor)) {
    return error("org.freedesktop.UDisks2.Error.NotMounted");
  }
  machine.unmount(player->minor);
  return {};
}

DiskIdentity LinuxRig::identityOf(const std::string& name) {
  const MockPlayer& player = machine.player(name);
  return {"/dev/" + player.diskName, 0x10000U + player.number};
}

DiskIdentity LinuxRig::plugIn(const std::string& name) {
  const MockPlayer& player = machine.plug(name);
  if (player.hasDisk) {
    known.found(player.number, readDisk(player.diskName).value());
    udisks.blocks.push_back({player.diskName, name});
    udisks.drives[name] = {true, false};
  }
  return identityOf(name);
}

}  // namespace fillstation::test
