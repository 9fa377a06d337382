#include "LinuxRig.h"

#include <QDeadlineTimer>
#include <array>
#include <cstdio>
#include <utility>

#include "MainLoop.h"

namespace fillstation::test {

namespace {

std::string lastPart(const std::string& path) { return path.substr(path.rfind('/') + 1); }

UDisksAnswer errorAnswer(const std::string& name) {
  return {name, "The stand-in says so.", {}, false};
}

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
    return obeyMount(object);
  }
  if (call.member == "Filesystem.Unmount") {
    return obeyUnmount(object);
  }
  if (call.member == "Drive.Eject") {
    machine.changeMedium(machine.player(object), 0);
  } else if (call.member == "Drive.PowerOff") {
    machine.pull(object);
  }
  return {};
}

UDisksAnswer LinuxRig::obeyMount(const std::string& blockName) {
  MockPlayer* const player = machine.byBlock(blockName);
  if (player == nullptr || !player->fileSystem) {
    return errorAnswer("org.freedesktop.DBus.Error.UnknownMethod");
  }
  if (machine.isMounted(player->minor)) {
    return errorAnswer("org.freedesktop.UDisks2.Error.AlreadyMounted");
  }
  const auto& fileSystem = *player->fileSystem;
  const std::string path =
      machine.mount(player->minor, fileSystem.label.value_or(fileSystem.identifier));
  return {"", "", {QString::fromStdString(path)}, false};
}

UDisksAnswer LinuxRig::obeyUnmount(const std::string& blockName) {
  MockPlayer* const player = machine.byBlock(blockName);
  if (player == nullptr || !machine.isMounted(player->minor)) {
    return errorAnswer("org.freedesktop.UDisks2.Error.NotMounted");
  }
  machine.unmount(player->minor);
  return {};
}

MockPlayer& LinuxRig::attach(const std::string& name) {
  MockPlayer& player = machine.plug(name);
  udisks.drives[name] = {true, false};
  if (player.disk) {
    udisks.blocks.push_back({player.diskName, name});
  }
  return player;
}

DiskIdentity LinuxRig::plugIn(const std::string& name) {
  const MockPlayer& player = attach(name);
  known.found(player.number, readDisk(player.diskName).value());
  return {"/dev/" + player.diskName, 0x10000U + player.number};
}

void LinuxRig::make(const std::string& name, const contract::PlayerWish& wish) {
  MockPlayer& player = machine.player(name);
  static_cast<contract::PlayerWish&>(player) = wish;
  auto& fileSystem = made_[name];
  if (!wish.blank) {
    fileSystem = MockFileSystem();
    fileSystem->label = wish.label ? std::optional(encodedByUdev(*wish.label)) : std::nullopt;
  }
}

void LinuxRig::plug(const std::string& name) {
  machine.player(name).fileSystem = made_[name];
  const MockPlayer& player = attach(name);
  if (player.disk && player.fileSystem) {
    machine.mount(player.minor, player.fileSystem->label.value_or("1111-AAAA"));
  }
}

void LinuxRig::unplug(const std::string& name) {
  machine.pull(name);
  std::erase_if(udisks.blocks, [&](const auto& block) { return block.drive == name; });
}

bool LinuxRig::await(const std::function<bool()>& condition) {
  const QDeadlineTimer minute(60'000);
  while (!condition() && !minute.hasExpired()) {
    QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents, 5);
  }
  return condition();
}

void LinuxRig::settle() { runLoopDry(); }

std::shared_ptr<UDisksTest::Outcome> UDisksTest::send(Request request,
                                                      const DiskIdentity& identity) {
  auto outcome = std::make_shared<Outcome>();
  ((*session).*request)(session->diskFromName(identity.node), identity,
                        [outcome](const auto&, const Dissenter* dissenter) {
                          outcome->completed = true;
                          outcome->refused = dissenter != nullptr ? dissenter->reason : "";
                        });
  return outcome;
}

std::string UDisksTest::ask(Request request, const DiskIdentity& identity) {
  const auto outcome = send(request, identity);
  runLoopUntil([&] { return outcome->completed; });
  return outcome->refused;
}

void UDisksTest::answer(std::deque<UDisksAnswer> answers) {
  answers_ = std::move(answers);
  udisks.handler = [this](const UDisksCall& call) {
    if (answers_.empty()) {
      return obey(call);
    }
    const UDisksAnswer next = answers_.front();
    answers_.pop_front();
    return next;
  };
}

std::shared_ptr<UDisksTest::Outcome> UDisksTest::sendInVain(Request request,
                                                            const DiskIdentity& identity) {
  answer({silence()});
  const auto outcome = send(request, identity);
  runLoopUntil([&] { return udisks.calls.size() == 1; });
  return outcome;
}

}  // namespace fillstation::test
