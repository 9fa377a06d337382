#include <gtest/gtest.h>

#include <cstdlib>

#include "UsbRig.h"

namespace fillstation::test {
namespace {

constexpr std::int64_t kLong = 1'000'000;
constexpr std::int64_t kShort = 10'000;

class DiskVolume : public testing::Test {
 protected:
  // What one lookup gave, as "name at path", and printed.
  std::string lookUp(Disk* disk) {
    std::string unset = "unset";
    char* name = unset.data();
    char* path = unset.data();
    StdCapture out(stdout);
    getDiskVolume(disk, &name, &path);
    printed = out.text();
    const std::string found = formatText("%s at %s", name, path);
    for (char* text : {name, path}) {
      if (text != unset.data()) {
        std::free(text);
      }
    }
    return found;
  }
  std::string lookUp(const std::optional<std::string>& name,
                     const std::optional<std::string>& path) {
    return lookUp(rig.addDisk("sdc", describedAs(name, path)).get());
  }
  // The same, by a name that the outputs are "old" before.
  std::string lookUpByName(const char* driveName) {
    std::optional<std::string> name = "old";
    std::optional<std::string> path = "old";
    StdCapture out(stdout);
    getDiskVolumeFromDriveName(driveName, name, path);
    printed = out.text();
    return formatText("%s at %s", name, path);
  }
  // Has the disk described in one way up to a look, and then in another.
  void describe(std::size_t upTo, std::optional<DiskDescription> first,
                std::optional<DiskDescription> then) {
    rig.disk->describe = [=](std::size_t look) { return look <= upTo ? first : then; };
  }

  UsbRig rig;
  std::string printed;
};

TEST_F(DiskVolume, WhatIsKnownIsFoundInOneLook) {
  EXPECT_EQ(lookUp(rig.disk.get()), "SONGS at file:///media/SONGS/");
  EXPECT_EQ(printed, "\n got vol name\n got vol path");
  EXPECT_EQ(rig.disk->looks(), 1U);
  // Either of both ends the wait.
  EXPECT_EQ(lookUp("SONGS", std::nullopt), "SONGS at (null)");
  EXPECT_EQ(printed, "\n got vol name");
  EXPECT_EQ(lookUp("", "file:///x/"), "(null) at file:///x/");
  EXPECT_EQ(printed, "\n got vol path");
  EXPECT_EQ(lookUp(std::nullopt, "file:///x/"), "(null) at file:///x/");
  EXPECT_EQ(lookUp("1234", "file:///x/"), "x234 at file:///x/");
  EXPECT_TRUE(rig.ports.clock.sleeps().empty());
}

TEST_F(DiskVolume, PathThatIsTooLongIsNotFound) {
  const std::string longest(1023, 'p');
  EXPECT_EQ(lookUp("A", longest), "A at " + longest);
  EXPECT_EQ(lookUp("A", longest + "p"), "A at (null)");
}

TEST_F(DiskVolume, BlankMediumCosts200ShortWaitsAndYieldsTwoNulls) {
  describe(0, {}, DiskDescription{});
  EXPECT_EQ(lookUp(rig.disk.get()), "(null) at (null)");
  EXPECT_EQ(printed, repeated("\n no vol name", 200));
  EXPECT_EQ(rig.disk->looks(), 200U);
  EXPECT_EQ(rig.ports.clock.sleeps(), std::vector<std::int64_t>(200, kShort));
}

TEST_F(DiskVolume, DiskThatIsNeverDescribedCosts200LongWaits) {
  describe(0, {}, std::nullopt);
  EXPECT_EQ(lookUp(rig.disk.get()), "(null) at (null)");
  EXPECT_EQ(printed, repeated("\nsleeping", 200));
  EXPECT_EQ(rig.disk->looks(), 200U);
  EXPECT_EQ(rig.ports.clock.sleeps(), std::vector<std::int64_t>(200, kLong));
}

TEST_F(DiskVolume, BothWaitsShareTheAttempts) {
  describe(150, std::nullopt, DiskDescription{});
  lookUp(rig.disk.get());
  EXPECT_EQ(printed, repeated("\nsleeping", 150) + repeated("\n no vol name", 50));
}

TEST_F(DiskVolume, VolumeThatAppearsAtTheLastLookIsFound) {
  describe(199, DiskDescription{}, describedAs("LATE", std::nullopt));
  EXPECT_EQ(lookUp(rig.disk.get()), "LATE at (null)");
  EXPECT_EQ(printed, repeated("\n no vol name", 199) + "\n got vol name");
}

TEST_F(DiskVolume, PauseComesBeforeTheLineOfAMissingDescriptionAndAfterThatOfAMissingVolume) {
  rig.ports.clock.onSleep = [](std::size_t) { std::fputs("[pause]", stdout); };
  describe(1, std::nullopt, describedAs("A", std::nullopt));
  lookUp(rig.disk.get());
  EXPECT_EQ(printed, "[pause]\nsleeping\n got vol name");
  describe(3, DiskDescription{}, describedAs("A", std::nullopt));
  lookUp(rig.disk.get());
  EXPECT_EQ(printed, "\n no vol name[pause]\n got vol name");
}

TEST_F(DiskVolume, WithoutADiskTheOutputsAreNullAndNothingIsSaid) {
  EXPECT_EQ(lookUp(nullptr), "(null) at (null)");
  EXPECT_EQ(printed, "");
  EXPECT_TRUE(rig.ports.clock.sleeps().empty());
}

TEST_F(DiskVolume, ProgramThatEndsCutsTheWaits) {
  describe(2, DiskDescription{}, std::nullopt);
  rig.ports.clock.onSleep = [this](std::size_t number) {
    if (number % 2 == 1) {
      rig.ports.clock.end();
    }
  };
  EXPECT_EQ(lookUp(rig.disk.get()), "(null) at (null)");
  EXPECT_EQ(printed, repeated("\n no vol name", 2));
  EXPECT_EQ(rig.ports.clock.sleeps().size(), 2U);
  lookUp(rig.disk.get());
  EXPECT_EQ(printed, "") << "a long wait, without a word";
  EXPECT_EQ(rig.ports.clock.sleeps().size(), 3U);
}

TEST_F(DiskVolume, ASessionOfItsOwnIsAskedForTheNameAsGiven) {
  const auto shared = platform().createDiskSession();
  session = shared;
  EXPECT_EQ(lookUpByName("/dev/sdb"), "SONGS at file:///media/SONGS/");
  EXPECT_EQ(printed, "\n got vol name\n got vol path");
  EXPECT_EQ(session, shared);
  session = nullptr;
  EXPECT_EQ(lookUpByName("sdb"), "SONGS at file:///media/SONGS/");
  EXPECT_EQ(session, nullptr);
  EXPECT_EQ(rig.ports.disks.sessionsOpened, 3U);
  EXPECT_EQ(rig.ports.disks.namesAsked, (std::vector<std::string>{"/dev/sdb", "sdb"}));
}

TEST_F(DiskVolume, ByNameAnOutputStaysUntouchedWhereNothingIsFound) {
  rig.addDisk("sdb", describedAs(std::nullopt, "file:///x/"));
  EXPECT_EQ(lookUpByName("/dev/sdb"), "old at file:///x/");
  rig.addDisk("sdb", describedAs("SONGS", std::nullopt));
  EXPECT_EQ(lookUpByName("/dev/sdb"), "SONGS at old");
  for (const char* name : {"/dev/sdz", static_cast<const char*>(nullptr)}) {
    EXPECT_EQ(lookUpByName(name), "old at old");
    EXPECT_EQ(printed, "");
  }
  EXPECT_TRUE(rig.ports.clock.sleeps().empty());
}

}  // namespace
}  // namespace fillstation::test
