#include "LinuxSystem.h"

#include "FakeAgentTest.h"
#include "LinuxRig.h"

namespace fillstation::test {

// The back end as a whole, on a machine that isn't real.
class LinuxSystemTest : public FakeAgentTest, protected LinuxRig {
 protected:
  LinuxSystemTest() {
    places = {FAKE_AGENT, folder.write("udev", ""), "/bin/true",
              [this](const QString& name) { return dbus.connect(name); }};
    platform().workers = &workers;
  }
  ~LinuxSystemTest() override {
    system.reset();
    platform() = {};
  }

  // Makes and installs it; the players that are plugged in are found.
  void begin() {
    system.emplace(LinuxServices{stop, mainThread, workers, log}, places);
    system->installInto(platform());
    ASSERT_TRUE(platform().usbBus->open("IOUSBDevice"));
    const auto present = platform().usbBus->watchAttach([](UsbDeviceIterator&) {});
    while (const auto device = present->next()) {
      device->searchDiskName();
    }
  }
  static DiskDescription description() {
    return platform().createDiskSession()->diskFromName("sdb")->copyDescription().value();
  }
  static ScriptOutcome wipe(const DiskIdentity& target, const std::string& user = "boss",
                            const std::string& password = "0") {
    return platform().scriptRunner->run(
        "do shell script \"dd if=/dev/zero of=" + target.node + " bs=4k count=10\" user name \"" +
            user + "\" password \"" + password + "\" with administrator privileges",
        target);
  }

  const DiskIdentity kPlayer{"/dev/sdb", 0x10002};

  TempFolder folder;
  LinuxPlaces places;
  std::optional<LinuxSystem> system;
};

TEST_F(LinuxSystemTest, AWholeMachineGetsNoLineInTheLog) {
  begin();
  runLoopUntil([&] { return !udisks.calls.empty(); });
  EXPECT_EQ(udisks.members(), std::vector<std::string>({"ObjectManager.GetManagedObjects"}));
  runLoopDry();
  EXPECT_EQ(log.texts(), std::vector<std::string>());
  platform().systemLog->write("a text");
  EXPECT_EQ(log.texts(), std::vector<std::string>({"a text"}));
  // It keeps the order of the requests.
  EXPECT_EQ(platform().createDiskSession(), platform().createDiskSession());
}

TEST_F(LinuxSystemTest, MissingPartsOfTheSystemAreInTheLog) {
  EXPECT_EQ(LinuxPlaces().udev, "/run/udev/control");
  EXPECT_EQ(LinuxPlaces().pkexec, "/usr/bin/pkexec");
  places.udev = folder.path("no-udev");
  places.pkexec = folder.path("no-pkexec");
  places.agent = folder.path("no-agent");
  dbus.stop();
  begin();
  runLoopUntil([&] { return log.texts().size() == 4; });
  const auto texts = log.texts();
  EXPECT_EQ(texts[0], "udev isn't running: no player will be seen.\n");
  EXPECT_EQ(texts[1], folder.path("no-pkexec") + " is missing: no player can be formatted.\n");
  EXPECT_EQ(texts[2], folder.path("no-agent") + " is missing: no player can be formatted.\n");
  EXPECT_TRUE(texts[3].starts_with("UDisks2 can't be reached: "));
}

TEST_F(LinuxSystemTest, AWalkKeepsTheWindowAlive) {
  begin();
  QObject window;
  bool seen = false;
  QMetaObject::invokeMethod(
      &window, [&] { seen = true; }, Qt::QueuedConnection);
  platform().fileManager->walk(folder.path(), [](const std::string&) { return true; })->next();
  EXPECT_TRUE(seen);
}

TEST_F(LinuxSystemTest, ARequestReachesUDisks2AndThePlayersOwnDisk) {
  machine.plug("a");
  machine.addNode("sdb");
  mockCalls().unit.sequenceResult = 0;
  begin();
  const auto opened = platform().createDiskSession();
  int completed = 0;
  const auto done = [&](const auto&, const Dissenter* dissenter) {
    ++completed;
    EXPECT_EQ(dissenter, nullptr);
  };
  opened->request(DiskRequest::mount, opened->diskFromName("/dev/sdb"), kPlayer, done);
  opened->request(DiskRequest::eject, opened->diskFromName("sdb"), kPlayer, done);
  runLoopUntil([&] { return completed == 2; });
  const std::string list = "ObjectManager.GetManagedObjects";
  EXPECT_EQ(udisks.members(),
            std::vector<std::string>({list, "Filesystem.Mount", "Filesystem.Unmount", list}));
  EXPECT_EQ(mockCalls().unit.command.size(), 6U);
}

TEST_F(LinuxSystemTest, ACommandIsForTheMediumThatWasTakenLast) {
  const auto sequence = [this] { return noted().substr(noted().rfind("sequence="), 12); };
  machine.plug("a");
  begin();
  machine.changeMedium(machine.player("a"), 32);
  wipe(kPlayer);
  EXPECT_EQ(sequence(), "sequence=101");
  EXPECT_EQ(platform().usbBus->takeMedium(kPlayer), 32 * 1024 * 1024);
  wipe(kPlayer);
  EXPECT_EQ(sequence(), "sequence=102");
}

TEST_F(LinuxSystemTest, AfterACommandButNotAWrongPasswordNoOldVolumeIsTakenForTheNew) {
  auto& player = machine.plug("a");
  machine.setFileSystem(player, MockFileSystem{"vfat", "1111-AAAA", "OLD"});
  begin();
  const auto wrong = static_cast<int>(AgentReply::Kind::wrongCredentials);
  const auto outcome = wipe(kPlayer, "kind", std::to_string(wrong));
  EXPECT_EQ(outcome.errorNumber, ScriptError::kWrongCredentials);
  EXPECT_EQ(description().volumeName, "OLD");
  wipe(kPlayer);
  EXPECT_FALSE(description().volumeName);
  machine.setFileSystem(player, MockFileSystem{"vfat", "2222-BBBB", "NEW"});
  EXPECT_EQ(description().volumeName, "NEW");
}

TEST_F(LinuxSystemTest, ThePlayersOwnVolumeIsOpened) {
  machine.plug("a");
  const auto path = machine.mount(16, "volume");
  begin();
  EXPECT_NE(platform().fileManager->openVolume(path, kPlayer), nullptr);
  EXPECT_EQ(platform().fileManager->openVolume(path, {"/dev/sdb", 0x10003}), nullptr);
}

}  // namespace fillstation::test
