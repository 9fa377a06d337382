#pragma once

#include <fcntl.h>
#include <sys/stat.h>

#include <atomic>
#include <filesystem>
#include <thread>

#include "ContractTest.h"
#include "TempFolder.h"
#include "TestFileManager.h"

namespace fillstation::contract {

class MediumContract : public VolumeTest {
 protected:
  void SetUp() override {
    VolumeTest::SetUp();
    if (!IsSkipped()) {
      watchBus();
    }
  }

  // Plugs in a player and opens its volume.
  void plugInOpened(const PlayerWish& wish = {}) {
    identity = plugInMounted("a", wish);
    openVolume();
  }

  bool createDirectory(const std::string& path) {
    return volume->createDirectory(root + "/" + path);
  }

  // Has the volume read back on a worker, while this thread is the main thread.
  bool readBack(const std::vector<CopiedItem>& items) {
    std::atomic<bool> done{false};
    bool held = false;
    std::thread worker([&] {
      held = volume->readBack(test::itemsOf(items));
      done = true;
    });
    EXPECT_TRUE(backEnd->await([&] { return done.load(); }));
    worker.join();
    return held;
  }
};

TEST_P(MediumContract, APlayerIsFilledInAWholeRun) {
  identity = plugInMounted("a");
  EXPECT_TRUE(succeeds(DiskRequest::unmount, identity));
  EXPECT_TRUE(runAsAdministrator(wipeCommand(identity.node), identity).result);
  EXPECT_TRUE(runAsAdministrator(formatCommand(identity.node), identity).result);
  EXPECT_TRUE(succeeds(DiskRequest::mount, identity));
  EXPECT_EQ(volumeName(identity), "NO NAME");
  openVolume();
  EXPECT_TRUE(createDirectory("Album"));
  EXPECT_TRUE(copy("two", "Album/02.mp3"));
  EXPECT_TRUE(copy("one", "Album/01.mp3"));
  EXPECT_TRUE(volume->flush());
  const std::vector<OnMedium> expected{
      {"Album/", ""}, {"Album/02.mp3", "two"}, {"Album/01.mp3", "one"}};
  EXPECT_EQ(backEnd->content("a"), expected);
  EXPECT_TRUE(backEnd->isSound("a"));
  volume.reset();
  EXPECT_TRUE(succeeds(DiskRequest::eject, identity));
  EXPECT_EQ(backEnd->content("a"), expected);
}

TEST_P(MediumContract, CopiedFilesAreReadBackAndTheVolumeStaysMounted) {
  plugInOpened();
  EXPECT_TRUE(createDirectory("Album"));
  EXPECT_TRUE(copy("two", "Album/02.mp3"));
  EXPECT_TRUE(copy("one", "Album/01.mp3"));
  EXPECT_TRUE(volume->flush());
  std::vector<CopiedItem> items(3);
  items[0].isDirectory = true;
  items[0].destination = root + "/Album/";
  for (const std::size_t file : {1U, 2U}) {
    items[file].source = sources.path("source-" + std::to_string(file));
    items[file].size = 3;
    items[file].destination = root + (file == 1 ? "/Album/02.mp3" : "/Album/01.mp3");
  }
  EXPECT_TRUE(readBack(items));
  openVolume();
  EXPECT_TRUE(copy("three", "03.mp3"));
  EXPECT_TRUE(volume->flush());
  items[0].destination = root + "/Another/";
  EXPECT_FALSE(readBack(items));
}

TEST_P(MediumContract, NamesThatFatKeepsInWaysOfItsOwnAreReadBack) {
  plugInOpened();
  std::vector<CopiedItem> items;
  for (const std::string name :
       {"UPPER.MP3", "lower.mp3", "Mixed.Mp3", "ÄÖÜ.mp3", "éàí.mp3", "ÁÉ.MP3", "ß.mp3",
        "three dots...", " in front", "Дорога.mp3", "道.mp3", "🎵.mp3", "a+b,c;d=[e].mp3", "CON.mp3",
        "a name that is longer than eight and three.mpeg", "lower.MP3x"}) {
    EXPECT_TRUE(copy("x", name)) << name;
    items.emplace_back();
    items.back().source = sources.path("source-" + std::to_string(sourceNumber));
    items.back().size = 1;
    items.back().destination = root + "/" + name;
  }
  EXPECT_TRUE(volume->flush());
  EXPECT_TRUE(readBack(items));
}

TEST_P(MediumContract, IsOpenedForItsDiskOnly) {
  identity = plugInMounted("a");
  root = *mountPath(identity);
  FileManager& files = backEnd->fileManager();
  EXPECT_NE(files.openVolume(root, identity), nullptr);
  EXPECT_NE(files.openVolume(root + "/", identity), nullptr);
  EXPECT_EQ(files.openVolume(root, {identity.node, identity.usbHandle + 1}), nullptr);
  EXPECT_EQ(files.openVolume(root, {identity.node + "9", identity.usbHandle}), nullptr);
  EXPECT_EQ(files.openVolume(root + "/..", identity), nullptr);
  EXPECT_EQ(files.openVolume(sources.path(), identity), nullptr);
  const DiskIdentity other = plugInMounted("b");
  EXPECT_EQ(files.openVolume(root, other), nullptr);
  EXPECT_EQ(files.openVolume(*mountPath(other), identity), nullptr);
  EXPECT_NE(files.openVolume(*mountPath(other), other), nullptr);
  EXPECT_TRUE(succeeds(DiskRequest::unmount, identity));
  EXPECT_EQ(files.openVolume(root, identity), nullptr);
}

TEST_P(MediumContract, DirectoryOrderIsCreationOrder) {
  plugInOpened();
  EXPECT_TRUE(copy("z", "zz.mp3"));
  EXPECT_TRUE(createDirectory("m"));
  EXPECT_TRUE(copy("10", "m/10.mp3"));
  EXPECT_TRUE(copy("2", "m/2.mp3"));
  EXPECT_TRUE(createDirectory("m/deep"));
  EXPECT_TRUE(copy("d", "m/deep/d.mp3"));
  EXPECT_TRUE(copy("1", "m/1.mp3"));
  EXPECT_TRUE(copy("a", "aa.mp3"));
  EXPECT_TRUE(volume->flush());
  const std::vector<OnMedium> expected{{"zz.mp3", "z"},  {"m/", ""},      {"m/10.mp3", "10"},
                                       {"m/2.mp3", "2"}, {"m/deep/", ""}, {"m/deep/d.mp3", "d"},
                                       {"m/1.mp3", "1"}, {"aa.mp3", "a"}};
  EXPECT_EQ(backEnd->content("a"), expected);
  EXPECT_TRUE(backEnd->isSound("a"));
}

TEST_P(MediumContract, EveryNameThatFatCanHoldArrivesUnchanged) {
  const std::vector<std::string> names{
      "-x.mp3",       "a[1].mp3",           "b]{}.mp3",      "100%.mp3",       "%41.mp3",
      "ümläut.mp3",   "emoji😀.mp3",         "😀😁.mp3",        "日本語.mp3",     "sp ace.mp3",
      " leading.mp3", "q'uote.mp3",         "a~1.mp3",       ".hidden",        "A+,;=.mp3",
      "UPPER.MP3",    "Mixed.mp3",          "lower.mp3",     "x#&!@$^.mp3",    "CON",
      "con.mp3",      "lpt1.txt",           "clock$",        "é.mp3",          "è.mp3",
      "noextension",  "two.dots.mp3",       "thirteen78901", "fourteen789012", "\uE000private",
      "`(){}_-'.mp3", std::string(255, 'n')};
  plugInOpened();
  std::vector<OnMedium> expected;
  for (const auto& name : names) {
    EXPECT_TRUE(copy("content of " + name, name)) << name;
    expected.push_back({name, "content of " + name});
  }
  EXPECT_TRUE(volume->flush());
  EXPECT_EQ(backEnd->content("a"), expected);
  EXPECT_TRUE(backEnd->isSound("a"));
}

TEST_P(MediumContract, NamesThatFatRefusesAreRefused) {
  plugInOpened();
  for (const std::string name : {"a:b", "a?b", "a*b", "a<b", "a>b", "a|b", "a\"b", "a\\b", "a\nb",
                                 "a\x1f", "b\x80", "trailing ", "trailing .", "..."}) {
    EXPECT_FALSE(copy("x", name)) << name;
    EXPECT_FALSE(createDirectory(name)) << name;
  }
  EXPECT_FALSE(copy("x", std::string(256, 'n')));
  EXPECT_TRUE(volume->flush());
  EXPECT_EQ(backEnd->content("a"), std::vector<OnMedium>());
}

// Dots at the end of a name fall away, and case doesn't count.
TEST_P(MediumContract, NeverOverwritesAFileWithTheSameNameOnFat) {
  plugInOpened();
  EXPECT_TRUE(copy("first", "Track.mp3"));
  EXPECT_FALSE(copy("second", "Track.mp3"));
  EXPECT_FALSE(copy("third", "track.MP3"));
  EXPECT_TRUE(copy("x", "dots.."));
  EXPECT_FALSE(copy("y", "dots"));
  EXPECT_TRUE(createDirectory("d"));
  EXPECT_FALSE(copy("fourth", "d"));
  EXPECT_TRUE(createDirectory("d"));
  EXPECT_FALSE(createDirectory("Track.mp3"));
  EXPECT_TRUE(copy("z", "d/track.mp3"));
  EXPECT_FALSE(copy("fifth", ""));
  EXPECT_TRUE(volume->flush());
  EXPECT_EQ(backEnd->content("a"),
            std::vector<OnMedium>(
                {{"Track.mp3", "first"}, {"dots", "x"}, {"d/", ""}, {"d/track.mp3", "z"}}));
}

TEST_P(MediumContract, AFileOfFourGiBIsTooLarge) {
  PlayerWish wish;
  wish.sizeMiB = 8192;
  plugInOpened(wish);
  const std::string source = sources.write("large", "");
  std::filesystem::resize_file(source, std::uintmax_t{1} << 32);
  EXPECT_FALSE(volume->copyItem(source, root + "/large.mp3"));
  EXPECT_TRUE(volume->flush());
  EXPECT_EQ(backEnd->content("a"), std::vector<OnMedium>());
}

TEST_P(MediumContract, TakesNoMoreThanTheMediumHolds) {
  plugInOpened();
  const std::string source = sources.write("large", "");
  std::filesystem::resize_file(source, std::uintmax_t{40} << 20);
  EXPECT_TRUE(volume->copyItem(source, root + "/fits.mp3"));
  EXPECT_FALSE(volume->copyItem(source, root + "/too much.mp3"));
  EXPECT_TRUE(copy("small", "small.mp3"));
  EXPECT_TRUE(volume->flush());
  const auto content = backEnd->content("a");
  ASSERT_EQ(content.size(), 2U);
  EXPECT_EQ(content[0].content, std::string(std::size_t{40} << 20, '\0'));
  EXPECT_EQ(content[1], (OnMedium{"small.mp3", "small"}));
  EXPECT_TRUE(backEnd->isSound("a"));
}

TEST_P(MediumContract, AtMostSixteenMiBAreNotOnTheMedium) {
  plugInOpened();
  const std::string source = sources.write("source", "");
  std::filesystem::resize_file(source, std::uintmax_t{16} << 20);
  EXPECT_TRUE(volume->copyItem(source, root + "/1.mp3"));
  EXPECT_TRUE(volume->copyItem(source, root + "/2.mp3"));
  const auto content = backEnd->content("a");
  ASSERT_GE(content.size(), 1U);
  EXPECT_EQ(content[0].path, "1.mp3");
  EXPECT_EQ(content[0].content.size(), std::size_t{16} << 20);
}

TEST_P(MediumContract, ExistingFilesAreShownAndKept) {
  plugInOpened();
  EXPECT_TRUE(createDirectory("Älter"));
  EXPECT_TRUE(copy("before", "Älter/😀.mp3"));
  EXPECT_TRUE(copy("", "empty.mp3"));
  volume.reset();
  EXPECT_TRUE(succeeds(DiskRequest::unmount, identity));
  EXPECT_TRUE(succeeds(DiskRequest::mount, identity));
  root = *mountPath(identity);
  EXPECT_EQ(test::contentOf(root + "/Älter/😀.mp3"), "before");
  EXPECT_TRUE(std::filesystem::exists(root + "/empty.mp3"));
  volume = backEnd->fileManager().openVolume(root, identity);
  EXPECT_FALSE(copy("again", "EMPTY.mp3"));
  EXPECT_TRUE(copy("after", "Älter/2.mp3"));
  EXPECT_TRUE(volume->flush());
  EXPECT_EQ(backEnd->content("a"), std::vector<OnMedium>({{"Älter/", ""},
                                                          {"Älter/😀.mp3", "before"},
                                                          {"Älter/2.mp3", "after"},
                                                          {"empty.mp3", ""}}));
  EXPECT_TRUE(backEnd->isSound("a"));
}

TEST_P(MediumContract, AnOpenVolumeIsNeitherUnmountedNorEjected) {
  plugInOpened();
  EXPECT_FALSE(succeeds(DiskRequest::unmount, identity));
  EXPECT_FALSE(succeeds(DiskRequest::eject, identity));
  EXPECT_TRUE(copy("x", "x.mp3"));
  volume.reset();
  EXPECT_TRUE(succeeds(DiskRequest::eject, identity));
  EXPECT_EQ(backEnd->content("a"), std::vector<OnMedium>({{"x.mp3", "x"}}));
}

TEST_P(MediumContract, NothingGetsOntoAPlayerThatHasGone) {
  plugInOpened();
  EXPECT_TRUE(copy("x", "x.mp3"));
  EXPECT_TRUE(volume->flush());
  backEnd->unplug("a");
  EXPECT_FALSE(copy("y", "y.mp3"));
  EXPECT_FALSE(createDirectory("d"));
  EXPECT_EQ(backEnd->content("a"), std::vector<OnMedium>({{"x.mp3", "x"}}));
}

TEST_P(MediumContract, VanishesWithThePlayer) {
  plugInOpened();
  pullOut("a");
  EXPECT_TRUE(backEnd->await([&] { return !std::filesystem::exists(root); }));
  EXPECT_EQ(backEnd->fileManager().openVolume(root, identity), nullptr);
}

TEST_P(MediumContract, KeepsTheModificationTime) {
  plugInOpened();
  const std::string source = sources.write("source", "x");
  const timespec when{1'000'000'000, 0};
  const timespec times[2]{when, when};
  ASSERT_EQ(::utimensat(AT_FDCWD, source.c_str(), times, 0), 0);
  EXPECT_TRUE(volume->copyItem(source, root + "/x.mp3"));
  struct stat status {};
  ASSERT_EQ(::stat((root + "/x.mp3").c_str(), &status), 0);
  EXPECT_EQ(status.st_mtime, 1'000'000'000);
}

}  // namespace fillstation::contract
