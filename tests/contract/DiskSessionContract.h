#pragma once

#include "ContractTest.h"

namespace fillstation::contract {

class DiskSessionContract : public WatchedContract {
 protected:
  static bool isEmpty(const DiskDescription& description) {
    return !description.deviceVendor && !description.mediaSize && !description.volumeName &&
           !description.volumePath;
  }
};

TEST_P(DiskSessionContract, ADiskHasANameAndANode) {
  const DiskIdentity identity = plugIn("a");
  EXPECT_NE(session->diskFromName(identity.node), nullptr);
  EXPECT_NE(session->diskFromName(identity.node.substr(5)), nullptr);
  EXPECT_EQ(session->diskFromName(identity.node + "9"), nullptr);
  EXPECT_EQ(session->diskFromName(""), nullptr);
  EXPECT_EQ(session->diskFromName("/dev/"), nullptr);
}

TEST_P(DiskSessionContract, AMountedPlayerIsDescribed) {
  struct Described {
    std::optional<std::string> label;
    std::string vendor;
    std::string name;
  };
  const std::vector<Described> all{{"BOOKS", "ACTIONS", "BOOKS"},
                                   {"A B", "ACTIONS", "A B"},
                                   {"BOOKS", "OTHER", "BOOKS"},
                                   {std::nullopt, "ACTIONS", "NO NAME"},
                                   {"CAF\xC9 1", "ACTIONS", "CAF_ 1"}};
  for (const auto& each : all) {
    PlayerWish wish;
    wish.label = each.label;
    wish.vendor = each.vendor;
    const DiskIdentity identity = plugInMounted("player" + std::to_string(told.size()), wish);
    EXPECT_EQ(vendor(identity), each.vendor);
    EXPECT_EQ(mediaSize(identity), 64 * 1024 * 1024);
    EXPECT_EQ(volumeName(identity), each.name);
    if (each.vendor == "ACTIONS") {  // others' volumes need not be opened
      EXPECT_NE(backEnd->fileManager().openVolume(*mountPath(identity), identity), nullptr);
    }
  }
}

TEST_P(DiskSessionContract, ABlankMediumHasNeitherNameNorPath) {
  PlayerWish wish;
  wish.blank = true;
  const DiskIdentity identity = plugIn("a", wish);
  EXPECT_FALSE(succeeds(DiskRequest::mount, identity));
  const DiskDescription read = description(identity);
  EXPECT_EQ(vendor(identity), "ACTIONS");
  EXPECT_FALSE(read.volumeName);
  EXPECT_FALSE(read.volumePath);
}

TEST_P(DiskSessionContract, UnmountingTakesThePathAndMountingBringsItBack) {
  const DiskIdentity identity = plugInMounted("a");
  const auto path = mountPath(identity);
  EXPECT_TRUE(succeeds(DiskRequest::mount, identity));
  EXPECT_EQ(mountPath(identity), path);
  EXPECT_TRUE(succeeds(DiskRequest::unmount, identity));
  EXPECT_TRUE(succeeds(DiskRequest::unmount, identity));
  EXPECT_EQ(mountPath(identity), std::nullopt);
  EXPECT_EQ(volumeName(identity), "BOOKS");
  EXPECT_TRUE(succeeds(DiskRequest::mount, identity));
  EXPECT_TRUE(mountPath(identity));
}

TEST_P(DiskSessionContract, CompletesOnTheMainThreadAndNeverInsideTheCall) {
  const DiskIdentity identity = plugInMounted("a");
  const auto disk = diskOf(identity);
  Outcome outcome;
  session->request(DiskRequest::unmount, disk, identity, noting(outcome));
  EXPECT_FALSE(outcome.completed);
  ASSERT_TRUE(backEnd->await([&] { return outcome.completed; }));
  EXPECT_EQ(outcome.thread, std::this_thread::get_id());
  EXPECT_EQ(outcome.disk, disk);
  Outcome ofAnother;
  std::thread([&] {
    session->request(DiskRequest::unmount, disk, identity, noting(ofAnother));
  }).join();
  ASSERT_TRUE(backEnd->await([&] { return ofAnother.completed; }));
  EXPECT_EQ(ofAnother.thread, std::this_thread::get_id());
}

TEST_P(DiskSessionContract, RequestsAreDoneInTheirOrder) {
  const DiskIdentity identity = plugInMounted("a");
  const auto disk = diskOf(identity);
  std::vector<std::string> done;
  const auto note = [&](const char* what) {
    return [&done, what, this, identity](const std::shared_ptr<Disk>&, const Dissenter* refused) {
      done.push_back(std::string(what) + (refused != nullptr ? " refused" : ""));
    };
  };
  session->request(DiskRequest::unmount, disk, identity, note("unmount"));
  session->request(DiskRequest::mount, disk, identity, note("mount"));
  session->request(DiskRequest::unmount, disk, {identity.node, 0}, note("wrong"));
  session->request(DiskRequest::eject, disk, identity, note("eject"));
  session->request(DiskRequest::mount, disk, identity, note("late mount"));
  ASSERT_TRUE(backEnd->await([&] { return done.size() == 5; }));
  EXPECT_EQ(done, std::vector<std::string>(
                      {"unmount", "mount", "wrong refused", "eject", "late mount refused"}));
}

TEST_P(DiskSessionContract, TwoSessionsShareADisksOrder) {
  const DiskIdentity identity = plugInMounted("a");
  const auto other = backEnd->createDiskSession();
  std::vector<int> done;
  for (int number = 0; number < 6; ++number) {
    const auto& one = number % 2 == 0 ? session : other;
    const auto disk = one->diskFromName(identity.node);
    const auto note = [&done, number](const std::shared_ptr<Disk>&, const Dissenter*) {
      done.push_back(number);
    };
    number % 3 == 0 ? one->request(DiskRequest::mount, disk, identity, note)
                    : one->request(DiskRequest::unmount, disk, identity, note);
  }
  ASSERT_TRUE(backEnd->await([&] { return done.size() == 6; }));
  EXPECT_EQ(done, std::vector<int>({0, 1, 2, 3, 4, 5}));
}

TEST_P(DiskSessionContract, WithoutADiskARequestIsRefusedLater) {
  Outcome mounted;
  Outcome unmounted;
  Outcome ejected;
  session->request(DiskRequest::mount, nullptr, {}, noting(mounted));
  session->request(DiskRequest::unmount, nullptr, {}, noting(unmounted));
  session->request(DiskRequest::eject, nullptr, {}, noting(ejected));
  EXPECT_FALSE(mounted.completed || unmounted.completed || ejected.completed);
  ASSERT_TRUE(backEnd->await([&] { return ejected.completed; }));
  EXPECT_TRUE(mounted.refused && unmounted.refused && ejected.refused);
  EXPECT_EQ(mounted.disk, nullptr);
}

TEST_P(DiskSessionContract, ACompletionMayBeEmpty) {
  const DiskIdentity identity = plugInMounted("a");
  session->request(DiskRequest::unmount, diskOf(identity), identity, nullptr);
  session->request(DiskRequest::unmount, nullptr, identity, nullptr);
  EXPECT_TRUE(backEnd->await([&] { return !mountPath(identity); }));
  backEnd->settle();
}

TEST_P(DiskSessionContract, ADiskThatIsNotTheExpectedOneIsLeftAlone) {
  const DiskIdentity identity = plugInMounted("a");
  const DiskIdentity other = plugInMounted("b");
  for (const DiskIdentity& wrong : {DiskIdentity{identity.node, identity.usbHandle + 9},
                                    DiskIdentity{other.node, identity.usbHandle}, other}) {
    for (const DiskRequest request : {DiskRequest::unmount, DiskRequest::eject}) {
      Outcome outcome;
      session->request(request, diskOf(identity), wrong, noting(outcome));
      ASSERT_TRUE(backEnd->await([&] { return outcome.completed; }));
      EXPECT_TRUE(outcome.refused);
    }
  }
  EXPECT_TRUE(mountPath(identity));
  EXPECT_TRUE(mountPath(other));
}

TEST_P(DiskSessionContract, ADiskWhoseDeviceHasGoneSaysNothing) {
  const DiskIdentity identity = plugInMounted("a");
  const auto disk = diskOf(identity);
  backEnd->unplug("a");
  EXPECT_TRUE(backEnd->await([&] {
    const auto read = disk->copyDescription();
    return read && isEmpty(*read);
  }));
  Outcome outcome;
  session->request(DiskRequest::unmount, disk, identity, noting(outcome));
  ASSERT_TRUE(backEnd->await([&] { return outcome.completed; }));
  EXPECT_TRUE(outcome.refused);
}

TEST_P(DiskSessionContract, ANameIsRememberedWhileItsLeavingIsHandled) {
  ASSERT_NE(session, nullptr);
  const DiskIdentity identity = plugIn("a");
  backEnd->usbBus().hold();
  backEnd->unplug("a");
  backEnd->settle();
  const auto disk = diskOf(identity);
  ASSERT_NE(disk, nullptr);
  EXPECT_TRUE(isEmpty(*disk->copyDescription()));
  // Another player doesn't get the name before it is free.
  backEnd->make("b", {});
  backEnd->plug("b");
  backEnd->settle();
  backEnd->usbBus().resume();
  ASSERT_TRUE(backEnd->await([&] { return told.size() == 3; }));
  EXPECT_EQ(diskOf(identity), nullptr);
  EXPECT_NE("/dev/" + told[2].diskName.value_or(""), identity.node);
}

TEST_P(DiskSessionContract, AnEjectedPlayerStaysPluggedInWithoutAMedium) {
  const DiskIdentity identity = plugInMounted("a");
  const auto disk = diskOf(identity);
  EXPECT_TRUE(succeeds(DiskRequest::unmount, identity));
  EXPECT_TRUE(succeeds(DiskRequest::eject, identity));
  backEnd->settle();
  EXPECT_EQ(told.size(), 1U);
  const DiskDescription read = description(identity);
  EXPECT_FALSE(read.volumeName);
  EXPECT_FALSE(read.volumePath);
  EXPECT_FALSE(succeeds(DiskRequest::mount, identity));
}

TEST_P(DiskSessionContract, EjectingUnmountsFirstAndThePlayerIsBackWhenItIsPluggedInAgain) {
  const DiskIdentity identity = plugInMounted("a");
  EXPECT_TRUE(succeeds(DiskRequest::eject, identity));
  EXPECT_EQ(mountPath(identity), std::nullopt);
  pullOut("a");
  const DiskIdentity again = plugInAgain("a");
  EXPECT_TRUE(backEnd->await([&] { return mountPath(again).has_value(); }));
}

}  // namespace fillstation::contract
