#include <gtest/gtest.h>

#include <sys/mman.h>
#include <unistd.h>

#include <array>

#include "UsbRig.h"

namespace fillstation::test {
namespace {

const std::string kMounted = "\n got vol name\n got vol pathfile:///media/SONGS/";

// A registration and what it printed.
struct Registration {
  explicit Registration(UsbRig& rig) {
    StdCapture out(stdout);
    StdCapture err(stderr);
    result = rig.registerReceiver();
    printed = out.text();
    errors = err.text();
  }
  int result;
  std::string printed;
  std::string errors;
};

// What runs until nothing is pending any more, printed.
std::string printedMeanwhile(UsbRig& rig) {
  StdCapture out(stdout);
  StdCapture err(stderr);
  for (int pass = 0; pass < 10; ++pass) {
    rig.ports.mainThread.runPending();
  }
  return out.text();
}

TEST(RegisterForUSBNotifications, PlayerPluggedInBeforeTheStartIsDeliveredOnceMeanwhile) {
  UsbRig rig;
  const auto device = std::make_shared<TestUsbDevice>();
  device->interface->descriptors[1] = TestUsbInterface::descriptorOf("Maker");
  device->interface->descriptors[2] = TestUsbInterface::descriptorOf("Stick");
  device->interface->descriptors[3] = TestUsbInterface::descriptorOf("0042");
  rig.bus.plug(device);
  const Registration registration(rig);
  EXPECT_EQ(registration.printed,
            "start event" + kMounted + "\nend event" + "start event\nend event");
  EXPECT_EQ(registration.errors, kPlayerLines);
  EXPECT_EQ(registration.result, 0);
  printedMeanwhile(rig);
  ASSERT_EQ(rig.records.size(), 1U);
  const KeptRecord& record = rig.records.front();
  EXPECT_EQ(record.vid, "Maker");
  EXPECT_EQ(record.pid, "Stick");
  EXPECT_EQ(record.rev, 0x0100);
  EXPECT_EQ(record.serialNumber, "N/A");
  EXPECT_EQ(record.volumeName, "SONGS");
  EXPECT_EQ(record.mountPath, "file:///media/SONGS/");
  EXPECT_EQ(record.diskName, "/dev/sdb");
  EXPECT_EQ(record.inserted, 1);
  EXPECT_EQ(record.ioService, 0x00010002U);
  EXPECT_EQ(record.size, 4096);
}

TEST(RegisterForUSBNotifications, OpensTheBusThenWatchesArrivalsThenDepartures) {
  UsbRig rig;
  const Registration registration(rig);
  EXPECT_EQ(registration.result, 0);
  EXPECT_EQ(rig.bus.calls,
            (std::vector<std::string>{"open IOUSBDevice", "watchAttach", "watchDetach"}));
  EXPECT_EQ(rig.ports.disks.sessionsOpened, 1U);
}

TEST(RegisterForUSBNotifications, MainLoopRunsOnceWithTheSessionBeforeAnythingElse) {
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
  const Registration registration(rig);
  EXPECT_EQ(passes, 1);
  // The receiver was not registered yet.
  EXPECT_TRUE(rig.records.empty());
  EXPECT_EQ(registration.printed, "(null)start event\nend eventstart event\nend event");
}

TEST(RegisterForUSBNotifications, FailsWithoutABus) {
  UsbRig rig;
  rig.bus.opens = false;
  const Registration registration(rig);
  EXPECT_EQ(registration.result, -1);
  EXPECT_EQ(registration.printed, "");
  EXPECT_EQ(rig.bus.calls, std::vector<std::string>{"open IOUSBDevice"});
}

TEST(RegisterForUSBNotifications, FailsWhenArrivalsCannotBeWatchedAfterAnEmptyWalk) {
  UsbRig rig;
  rig.bus.attachRegisters = false;
  const Registration registration(rig);
  EXPECT_EQ(registration.result, -1);
  EXPECT_EQ(registration.printed, "start event\nend event");
  EXPECT_EQ(rig.bus.calls, (std::vector<std::string>{"open IOUSBDevice", "watchAttach"}));
}

TEST(RegisterForUSBNotifications, FailsWhenDeparturesCannotBeWatchedAfterAnEmptyWalk) {
  UsbRig rig;
  rig.bus.detachRegisters = false;
  rig.bus.plug(std::make_shared<TestUsbDevice>());
  const Registration registration(rig);
  EXPECT_EQ(registration.result, -1);
  EXPECT_EQ(registration.printed,
            "start event" + kMounted + "\nend event" + "start event\nend event");
  EXPECT_EQ(rig.records.size(), 1U);
}

TEST(RegisterForUSBNotifications, LaterArrivalsAndDeparturesAreDelivered) {
  UsbRig rig;
  const Registration registration(rig);
  const auto device = std::make_shared<TestUsbDevice>();
  rig.bus.plug(device);
  EXPECT_EQ(printedMeanwhile(rig), "start event" + kMounted + "\nend event");
  ASSERT_EQ(rig.records.size(), 1U);
  EXPECT_EQ(rig.records[0].inserted, 1);
  rig.bus.unplug(device);
  EXPECT_EQ(printedMeanwhile(rig), "start eventN/A\nend event");
  ASSERT_EQ(rig.records.size(), 2U);
  EXPECT_EQ(rig.records[1].inserted, 0);
}

TEST(RegisterForUSBNotifications, EventsDuringAPauseAreHandledAfterwardsInOrder) {
  UsbRig rig;
  const auto slow = std::make_shared<TestUsbDevice>();
  slow->search = [](std::size_t number) {
    return number == 1 ? std::nullopt : std::optional<std::string>("sdb");
  };
  const auto second = std::make_shared<TestUsbDevice>();
  second->diskName = "sdc";
  rig.addDisk("sdc", describedAs("MORE", "file:///media/MORE/"));
  rig.ports.clock.onSleep = [&](std::size_t) {
    rig.bus.plug(second);
    rig.bus.unplug(second);
  };
  rig.bus.plug(slow);
  const Registration registration(rig);
  EXPECT_EQ(registration.printed, "start event\nno bsd name so sleeping" + kMounted +
                                      "\nend event" + "start event\nend event");
  EXPECT_EQ(printedMeanwhile(rig),
            "start event\n got vol name\n got vol pathfile:///media/MORE/\nend event"
            "start eventN/A\nend event");
  ASSERT_EQ(rig.records.size(), 3U);
  EXPECT_EQ(rig.records[0].diskName, "/dev/sdb");
  EXPECT_EQ(rig.records[1].diskName, "/dev/sdc");
  EXPECT_EQ(rig.records[1].inserted, 1);
  EXPECT_EQ(rig.records[2].diskName, "/dev/sdc");
  EXPECT_EQ(rig.records[2].inserted, 0);
}

TEST(RegisterForUSBNotifications, PlayerThatLeavesDuringItsLookupIsDeliveredAndThenReportedGone) {
  UsbRig rig;
  const auto device = std::make_shared<TestUsbDevice>();
  rig.disk->describe = [&](std::size_t look) {
    if (look == 2) {
      rig.bus.unplug(device);
    }
    return look == 1 ? describedAs(std::nullopt, std::nullopt) : DiskDescription{};
  };
  rig.bus.plug(device);
  const Registration registration(rig);
  EXPECT_EQ(rig.ports.clock.sleeps(), std::vector<std::int64_t>(200, 10'000));
  ASSERT_EQ(rig.records.size(), 1U);
  EXPECT_EQ(rig.records[0].volumeName, std::nullopt);
  EXPECT_EQ(rig.records[0].mountPath, std::nullopt);
  EXPECT_EQ(printedMeanwhile(rig), "start eventN/A\nend event");
  ASSERT_EQ(rig.records.size(), 2U);
  EXPECT_EQ(rig.records[1].inserted, 0);
}

TEST(DoStuff, PrintsTheMountPathAndPassesTheRecordToTheReceiver) {
  UsbRig rig;
  const Registration registration(rig);
  UsbDeviceInfo record;
  record.setMountPath("file:///media/x%20y/");
  record.setDiskName("/dev/sdx");
  StdCapture out(stdout);
  doStuff(record);
  EXPECT_EQ(out.text(), "file:///media/x%20y/");
  ASSERT_EQ(rig.records.size(), 1U);
  EXPECT_EQ(rig.records[0].diskName, "/dev/sdx");
}

TEST(DoStuff, PrintsBeforeItDelivers) {
  UsbRig rig;
  StdCapture out(stdout);
  registerForUSBNotifications(nullptr,
                              [](void*, UsbDeviceInfo*) { std::fputs("[delivery]", stdout); });
  UsbDeviceInfo record;
  record.setMountPath("path");
  doStuff(record);
  EXPECT_EQ(out.text(), "start event\nend eventstart event\nend eventpath[delivery]");
}

TEST(DoStuff, PrintsNullWithoutAMountPath) {
  UsbRig rig;
  const Registration registration(rig);
  UsbDeviceInfo record;
  StdCapture out(stdout);
  doStuff(record);
  EXPECT_EQ(out.text(), "(null)");
}

TEST(DoStuff, DeliversNothingWithoutAReceiver) {
  UsbRig::keepNothing();
  UsbDeviceInfo record;
  StdCapture out(stdout);
  doStuff(record);
  EXPECT_EQ(out.text(), "(null)");
}

TEST(USBDeviceCallback, OutputHasLeftTheProcessWhenTheEventIsHandled) {
  const int target = ::memfd_create("out", 0);
  std::fflush(stdout);
  const int saved = ::dup(STDOUT_FILENO);
  ::dup2(target, STDOUT_FILENO);
  USBDeviceCallback(nullptr, nullptr, true);
  std::array<char, 100> seen{};
  const auto count = ::pread(target, seen.data(), seen.size(), 0);
  std::fflush(stdout);
  ::dup2(saved, STDOUT_FILENO);
  ::close(saved);
  ::close(target);
  EXPECT_EQ(std::string(seen.data(), static_cast<std::size_t>(count)), "start event\nend event");
}

}  // namespace
}  // namespace fillstation::test
