#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>

#include "UsbRig.h"

namespace fillstation::test {
namespace {

constexpr std::int64_t kLong = 1'000'000;
constexpr std::int64_t kShort = 10'000;

// What one lookup gave and printed.
struct Lookup {
  std::optional<std::string> name;
  std::optional<std::string> path;
  std::string printed;
};

Lookup lookUp(Disk* disk) {
  std::string unset = "unset";
  char* name = unset.data();
  char* path = unset.data();
  StdCapture out(stdout);
  getDiskVolume(disk, &name, &path);
  Lookup lookup{UsbRig::kept(name), UsbRig::kept(path), out.text()};
  for (char* text : {name, path}) {
    if (text != unset.data()) {
      std::free(text);
    }
  }
  return lookup;
}

TEST(GetDiskVolume, NameAndPathAreFoundInOneLook) {
  UsbRig rig;
  const Lookup lookup = lookUp(rig.disk.get());
  EXPECT_EQ(lookup.name, "SONGS");
  EXPECT_EQ(lookup.path, "file:///media/SONGS/");
  EXPECT_EQ(lookup.printed, "\n got vol name\n got vol path");
  EXPECT_EQ(rig.disk->looks(), 1U);
  EXPECT_TRUE(rig.ports.clock.sleeps().empty());
}

TEST(GetDiskVolume, NameAloneEndsTheWait) {
  UsbRig rig;
  const auto disk = rig.addDisk("sdc", describedAs("SONGS", std::nullopt));
  const Lookup lookup = lookUp(disk.get());
  EXPECT_EQ(lookup.name, "SONGS");
  EXPECT_EQ(lookup.path, std::nullopt);
  EXPECT_EQ(lookup.printed, "\n got vol name");
  EXPECT_EQ(disk->looks(), 1U);
}

TEST(GetDiskVolume, EmptyNameWithAKnownPathEndsTheWaitWithANullName) {
  UsbRig rig;
  const auto disk = rig.addDisk("sdc", describedAs("", "file:///media/x/"));
  const Lookup lookup = lookUp(disk.get());
  EXPECT_EQ(lookup.name, std::nullopt);
  EXPECT_EQ(lookup.path, "file:///media/x/");
  EXPECT_EQ(lookup.printed, "\n got vol path");
  EXPECT_EQ(disk->looks(), 1U);
}

TEST(GetDiskVolume, AbsentNameWithAKnownPathEndsTheWaitWithANullName) {
  UsbRig rig;
  const Lookup lookup = lookUp(rig.addDisk("sdc", describedAs(std::nullopt, "file:///x/")).get());
  EXPECT_EQ(lookup.name, std::nullopt);
  EXPECT_EQ(lookup.path, "file:///x/");
}

TEST(GetDiskVolume, VolumeNamed1234YieldsX234) {
  UsbRig rig;
  EXPECT_EQ(lookUp(rig.addDisk("sdc", describedAs("1234", "file:///x/")).get()).name, "x234");
}

TEST(GetDiskVolume, BlankMediumCosts200ShortWaitsAndYieldsTwoNulls) {
  UsbRig rig;
  const auto disk = rig.addDisk("sdc", DiskDescription{});
  const Lookup lookup = lookUp(disk.get());
  EXPECT_EQ(lookup.name, std::nullopt);
  EXPECT_EQ(lookup.path, std::nullopt);
  EXPECT_EQ(lookup.printed, repeated("\n no vol name", 200));
  EXPECT_EQ(disk->looks(), 200U);
  EXPECT_EQ(rig.ports.clock.sleeps(), std::vector<std::int64_t>(200, kShort));
}

TEST(GetDiskVolume, DiskThatIsNeverDescribedCosts200LongWaits) {
  UsbRig rig;
  rig.disk->describe = [](std::size_t) { return std::nullopt; };
  const Lookup lookup = lookUp(rig.disk.get());
  EXPECT_EQ(lookup.name, std::nullopt);
  EXPECT_EQ(lookup.path, std::nullopt);
  EXPECT_EQ(lookup.printed, repeated("\nsleeping", 200));
  EXPECT_EQ(rig.disk->looks(), 200U);
  EXPECT_EQ(rig.ports.clock.sleeps(), std::vector<std::int64_t>(200, kLong));
}

TEST(GetDiskVolume, BothWaitsShareTheAttempts) {
  UsbRig rig;
  rig.disk->describe = [](std::size_t look) {
    return look <= 150 ? std::nullopt : std::optional(DiskDescription{});
  };
  EXPECT_EQ(lookUp(rig.disk.get()).printed,
            repeated("\nsleeping", 150) + repeated("\n no vol name", 50));
  EXPECT_EQ(rig.disk->looks(), 200U);
}

TEST(GetDiskVolume, VolumeThatAppearsAtTheLastLookIsFound) {
  UsbRig rig;
  rig.disk->describe = [](std::size_t look) {
    return look < 200 ? DiskDescription{} : describedAs("LATE", std::nullopt);
  };
  const Lookup lookup = lookUp(rig.disk.get());
  EXPECT_EQ(lookup.name, "LATE");
  EXPECT_EQ(lookup.printed, repeated("\n no vol name", 199) + "\n got vol name");
}

TEST(GetDiskVolume, EveryPauseComesBeforeTheLineOfAMissingDescription) {
  UsbRig rig;
  rig.disk->describe = [](std::size_t look) {
    return look == 1 ? std::nullopt : std::optional(describedAs("A", std::nullopt));
  };
  rig.ports.clock.onSleep = [](std::size_t) { std::fputs("[pause]", stdout); };
  EXPECT_EQ(lookUp(rig.disk.get()).printed, "[pause]\nsleeping\n got vol name");
}

TEST(GetDiskVolume, EveryPauseComesAfterTheLineOfAMissingVolume) {
  UsbRig rig;
  rig.disk->describe = [](std::size_t look) {
    return look == 1 ? DiskDescription{} : describedAs("A", std::nullopt);
  };
  rig.ports.clock.onSleep = [](std::size_t) { std::fputs("[pause]", stdout); };
  EXPECT_EQ(lookUp(rig.disk.get()).printed, "\n no vol name[pause]\n got vol name");
}

TEST(GetDiskVolume, DiskThatVanishesMeanwhileEndsAfterExactlyItsWaits) {
  UsbRig rig;
  rig.disk->describe = [](std::size_t look) {
    return look <= 3 ? std::nullopt : std::optional(DiskDescription{});
  };
  const Lookup lookup = lookUp(rig.disk.get());
  EXPECT_EQ(lookup.printed, repeated("\nsleeping", 3) + repeated("\n no vol name", 197));
}

TEST(GetDiskVolume, WithoutADiskTheOutputsAreNullAndNothingIsSaid) {
  UsbRig rig;
  const Lookup lookup = lookUp(nullptr);
  EXPECT_EQ(lookup.name, std::nullopt);
  EXPECT_EQ(lookup.path, std::nullopt);
  EXPECT_EQ(lookup.printed, "");
  EXPECT_TRUE(rig.ports.clock.sleeps().empty());
}

TEST(GetDiskVolume, PathValueOfAnotherShapeGivesNoPath) {
  UsbRig rig;
  DiskDescription description = describedAs("SONGS", std::nullopt);
  description.volumePath = PlatformValue::number(5);
  const Lookup lookup = lookUp(rig.addDisk("sdc", description).get());
  EXPECT_EQ(lookup.path, std::nullopt);
  EXPECT_EQ(lookup.printed, "\n got vol name");
}

TEST(GetDiskVolume, PathWhoseDescriptionIsTooLongIsNotFound) {
  UsbRig rig;
  const std::size_t frame = PlatformValue::url("").description().size();
  const std::string longest(1023 - frame, 'p');
  EXPECT_EQ(lookUp(rig.addDisk("sdc", describedAs("A", longest)).get()).path, longest);
  EXPECT_EQ(lookUp(rig.addDisk("sdd", describedAs("A", longest + "p")).get()).path, std::nullopt);
}

TEST(GetDiskVolume, ProgramThatEndsCutsTheShortWaits) {
  UsbRig rig;
  rig.ports.clock.onSleep = [&rig](std::size_t) { rig.ports.clock.end(); };
  const auto disk = rig.addDisk("sdc", DiskDescription{});
  const Lookup lookup = lookUp(disk.get());
  EXPECT_EQ(lookup.name, std::nullopt);
  EXPECT_EQ(lookup.printed, repeated("\n no vol name", 2));
  EXPECT_EQ(rig.ports.clock.sleeps().size(), 2U);
}

TEST(GetDiskVolume, ProgramThatEndsCutsTheLongWaitsWithoutAWord) {
  UsbRig rig;
  rig.ports.clock.onSleep = [&rig](std::size_t) { rig.ports.clock.end(); };
  rig.disk->describe = [](std::size_t) { return std::nullopt; };
  EXPECT_EQ(lookUp(rig.disk.get()).printed, "\nsleeping");
  EXPECT_EQ(rig.ports.clock.sleeps().size(), 2U);
}

// Both outputs begin as "old".
struct NamedLookup {
  explicit NamedLookup(const char* driveName) {
    StdCapture out(stdout);
    getDiskVolumeFromDriveName(driveName, name, path);
    printed = out.text();
  }
  std::optional<std::string> name = "old";
  std::optional<std::string> path = "old";
  std::string printed;
};

TEST(GetDiskVolumeFromDriveName, StoresNewTexts) {
  UsbRig rig;
  const NamedLookup lookup("/dev/sdb");
  EXPECT_EQ(lookup.name, "SONGS");
  EXPECT_EQ(lookup.path, "file:///media/SONGS/");
  EXPECT_EQ(lookup.printed, "\n got vol name\n got vol path");
}

TEST(GetDiskVolumeFromDriveName, AsksASessionOfItsOwnForTheNameAsGiven) {
  UsbRig rig;
  const auto shared = platform().createDiskSession();
  session = shared;
  const NamedLookup byNode("/dev/sdb");
  EXPECT_EQ(session, shared);
  session = nullptr;
  const NamedLookup byName("sdb");
  EXPECT_EQ(session, nullptr);
  EXPECT_EQ(byName.name, "SONGS");
  EXPECT_EQ(rig.ports.disks.sessionsOpened, 3U);
  EXPECT_EQ(rig.ports.disks.namesAsked, (std::vector<std::string>{"/dev/sdb", "sdb"}));
}

TEST(GetDiskVolumeFromDriveName, LeavesTheNameUntouchedWithoutAName) {
  UsbRig rig;
  rig.addDisk("sdb", describedAs(std::nullopt, "file:///x/"));
  const NamedLookup lookup("/dev/sdb");
  EXPECT_EQ(lookup.name, "old");
  EXPECT_EQ(lookup.path, "file:///x/");
}

TEST(GetDiskVolumeFromDriveName, LeavesThePathUntouchedWithoutAPath) {
  UsbRig rig;
  rig.addDisk("sdb", describedAs("SONGS", std::nullopt));
  const NamedLookup lookup("/dev/sdb");
  EXPECT_EQ(lookup.name, "SONGS");
  EXPECT_EQ(lookup.path, "old");
}

TEST(GetDiskVolumeFromDriveName, ReturnsAtOnceWithoutADisk) {
  UsbRig rig;
  for (const char* name : {"/dev/sdz", static_cast<const char*>(nullptr)}) {
    const NamedLookup lookup(name);
    EXPECT_EQ(lookup.name, "old");
    EXPECT_EQ(lookup.path, "old");
    EXPECT_EQ(lookup.printed, "");
  }
  EXPECT_EQ(rig.ports.disks.namesAsked, std::vector<std::string>{"/dev/sdz"});
  EXPECT_TRUE(rig.ports.clock.sleeps().empty());
}

}  // namespace
}  // namespace fillstation::test
