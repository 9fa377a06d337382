#include <gtest/gtest.h>

#include <sys/mman.h>
#include <unistd.h>

#include <array>

#include "UsbRig.h"

namespace fillstation::test {
namespace {

const std::string kEmptyWalk = "start event\nend event";
const std::string kWalk = "start event" + kFound + "file:///media/SONGS/\nend event";

class UsbRegistration : public testing::Test {
 protected:
  // Registers, and gives what is printed.
  std::string registered(int expected) {
    StdCapture out(stdout);
    StdCapture err(stderr);
    EXPECT_EQ(rig.registerReceiver(), expected);
    errors = err.text();
    return out.text();
  }
  // What runs until nothing is pending any more, printed.
  std::string printedMeanwhile() {
    StdCapture out(stdout);
    StdCapture err(stderr);
    for (int pass = 0; pass < 10; ++pass) {
      rig.ports.mainThread.runPending();
    }
    return out.text();
  }
  std::string printedBy(UsbDeviceInfo record) {
    StdCapture out(stdout);
    doStuff(record);
    return out.text();
  }

  UsbRig rig;
  std::shared_ptr<TestUsbDevice> device = namedDevice();
  std::string errors;
};

TEST_F(UsbRegistration, PlayerPluggedInBeforeTheStartIsDeliveredOnceMeanwhile) {
  rig.bus.plug(device);
  EXPECT_EQ(registered(0), kWalk + kEmptyWalk);
  EXPECT_EQ(errors, kPlayerLines);
  printedMeanwhile();
  EXPECT_EQ(rig.records, std::vector{kAsked});
  EXPECT_EQ(rig.bus.calls,
            (std::vector<std::string>{"open IOUSBDevice", "watchAttach", "watchDetach"}));
}

TEST_F(UsbRegistration, FailsWithoutABus) {
  rig.bus.opens = false;
  EXPECT_EQ(registered(-1), "");
  EXPECT_EQ(rig.bus.calls, std::vector<std::string>{"open IOUSBDevice"});
}

TEST_F(UsbRegistration, FailsWhenArrivalsCannotBeWatchedAfterAnEmptyWalk) {
  rig.bus.attachRegisters = false;
  EXPECT_EQ(registered(-1), kEmptyWalk);
  EXPECT_EQ(rig.bus.calls, (std::vector<std::string>{"open IOUSBDevice", "watchAttach"}));
}

TEST_F(UsbRegistration, FailsWhenDeparturesCannotBeWatchedAfterAnEmptyWalk) {
  rig.bus.detachRegisters = false;
  rig.bus.plug(device);
  EXPECT_EQ(registered(-1), kWalk + kEmptyWalk);
  EXPECT_EQ(rig.records, std::vector{kAsked});
}

TEST_F(UsbRegistration, LaterArrivalsAndDeparturesAreDelivered) {
  registered(0);
  rig.bus.plug(device);
  EXPECT_EQ(printedMeanwhile(), kWalk);
  EXPECT_EQ(rig.records, std::vector{kAsked});
  rig.bus.unplug(device);
  EXPECT_EQ(printedMeanwhile(), "start eventN/A\nend event");
  EXPECT_EQ(rig.records, (std::vector{kAsked, kGone}));
}

TEST_F(UsbRegistration, EventsDuringAPauseAreHandledAfterwardsInOrder) {
  device->search = [](std::size_t number) {
    return number == 1 ? std::nullopt : std::optional<std::string>("sdb");
  };
  const auto second = std::make_shared<TestUsbDevice>();
  second->diskName = "sdc";
  rig.addDisk("sdc", describedAs("MORE", "file:///media/MORE/"));
  rig.ports.clock.onSleep = [&](std::size_t) {
    rig.bus.plug(second);
    rig.bus.unplug(second);
  };
  rig.bus.plug(device);
  EXPECT_EQ(registered(0), "start event\nno bsd name so sleeping" + kFound +
                               "file:///media/SONGS/\nend event" + kEmptyWalk);
  EXPECT_EQ(printedMeanwhile(), "start event" + kFound +
                                    "file:///media/MORE/\nend event"
                                    "start eventN/A\nend event");
  ASSERT_EQ(rig.records.size(), 3U);
  EXPECT_EQ(rig.records[0], kAsked);
  EXPECT_TRUE(rig.records[1].starts_with("1 /dev/sdc"));
  EXPECT_TRUE(rig.records[2].starts_with("0 /dev/sdc"));
}

TEST_F(UsbRegistration, PlayerThatLeavesDuringItsLookupIsDeliveredAndThenReportedGone) {
  rig.disk->describe = [&](std::size_t look) {
    if (look == 2) {
      rig.bus.unplug(device);
    }
    return look == 1 ? describedAs(std::nullopt, std::nullopt) : DiskDescription{};
  };
  rig.bus.plug(device);
  registered(0);
  EXPECT_EQ(rig.ports.clock.sleeps(), std::vector<std::int64_t>(200, 10'000));
  ASSERT_EQ(rig.records.size(), 1U);
  EXPECT_TRUE(rig.records[0].ends_with("; (null) at (null), 1024 bytes"));
  EXPECT_EQ(printedMeanwhile(), "start eventN/A\nend event");
  ASSERT_EQ(rig.records.size(), 2U);
  EXPECT_EQ(rig.records[1], kGone);
}

TEST_F(UsbRegistration, DoStuffPrintsTheMountPathAndThenPassesTheRecordToTheReceiver) {
  registered(0);
  UsbDeviceInfo record;
  record.setDiskName("/dev/sdx");
  EXPECT_EQ(printedBy(record), "(null)");
  record.setMountPath("file:///media/x%20y/");
  EXPECT_EQ(printedBy(record), "file:///media/x%20y/");
  EXPECT_EQ(rig.records.size(), 2U);
  EXPECT_TRUE(rig.records.back().starts_with("0 /dev/sdx"));
  StdCapture out(stdout);
  registerForUSBNotifications(nullptr,
                              [](void*, UsbDeviceInfo*) { std::fputs("[delivery]", stdout); });
  doStuff(record);
  EXPECT_EQ(out.text(), kEmptyWalk + kEmptyWalk + "file:///media/x%20y/[delivery]");
}

TEST(UsbRegistrationFirst, MainLoopRunsOnceWithTheSessionBeforeAnythingElse) {
  UsbRig::keepNothing();
  UsbRig rig;
  session = nullptr;
  int passes = 0;
  rig.ports.mainThread.post([&] {
    ++passes;
    EXPECT_NE(session, nullptr);
    EXPECT_TRUE(rig.bus.calls.empty());
    UsbDeviceInfo record;
    doStuff(record);
  });
  StdCapture out(stdout);
  rig.registerReceiver();
  EXPECT_EQ(passes, 1);
  EXPECT_EQ(rig.ports.disks.sessionsOpened, 1U);
  // The receiver was not registered yet.
  EXPECT_TRUE(rig.records.empty());
  EXPECT_EQ(out.text(), "(null)" + kEmptyWalk + kEmptyWalk);
}

TEST(UsbRegistrationFirst, OutputHasLeftTheProcessWhenTheEventIsHandled) {
  const int target = ::memfd_create("out", 0);
  std::fflush(stdout);
  const int saved = ::dup(STDOUT_FILENO);
  ::dup2(target, STDOUT_FILENO);
  EXPECT_EQ(USBDeviceCallback(nullptr, nullptr, true), 0);
  std::array<char, 100> seen{};
  const auto count = ::pread(target, seen.data(), seen.size(), 0);
  std::fflush(stdout);
  ::dup2(saved, STDOUT_FILENO);
  ::close(saved);
  ::close(target);
  EXPECT_EQ(std::string(seen.data(), static_cast<std::size_t>(count)), kEmptyWalk);
}

}  // namespace
}  // namespace fillstation::test
