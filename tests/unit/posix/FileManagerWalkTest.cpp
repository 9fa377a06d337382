#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <filesystem>

#include "PosixFileManager.h"
#include "TempFolder.h"
#include "Unprivileged.h"

namespace fillstation::test {

using Names = std::vector<std::string>;

namespace {

rlim_t highestDescriptor() {
  rlim_t highest = 0;
  for (const auto& entry : std::filesystem::directory_iterator("/proc/self/fd")) {
    highest = std::max<rlim_t>(highest, std::stoul(entry.path().filename().string()));
  }
  return highest;
}

class NoOwner : public VolumeOwner {
 public:
  std::shared_ptr<VolumeMedium> mediumOf(int /*root*/, const std::string& /*mountPath*/,
                                         const DiskIdentity& /*owner*/) override {
    return nullptr;
  }
  std::optional<std::string> remount(const DiskIdentity& /*owner*/,
                                     const std::string& /*mountPath*/) override {
    return std::nullopt;
  }
};

// Files and folders of any file system, and walks over them.
class FileManagerWalkTest : public testing::Test {
 protected:
  // The walk's entries as paths below the folder, folders with "/" at the end.
  Names walked(const std::string& folder) {
    const auto walk = files_.walk(folder, [this](const std::string& path) {
      errors_.push_back(path);
      return goOn_;
    });
    Names names;
    while (const auto entry = walk->next()) {
      const std::string start = folder.ends_with('/') ? folder : folder + "/";
      EXPECT_TRUE(entry->path.starts_with(start)) << entry->path;
      std::string name = entry->path.substr(start.size());
      if (!entry->isDirectory) {
        name += entry->size ? " without kind" : " unknown";
      } else if (*entry->isDirectory) {
        name += "/";
      }
      names.push_back(name);
    }
    EXPECT_FALSE(walk->next());
    return names;
  }

  // The unreadable paths of walked().
  Names errors_;
  bool goOn_ = true;

  TempFolder folder_;
  StopSource stop_;
  NoOwner nobody_;
  PosixFileManager files_{nobody_, stop_};
};

TEST_F(FileManagerWalkTest, GivesExistenceThroughSymbolicLinksToo) {
  const std::string file = folder_.write("a/file", "abc");
  bool isDirectory = true;
  EXPECT_TRUE(files_.fileExists(file, &isDirectory));
  EXPECT_FALSE(isDirectory);
  EXPECT_TRUE(files_.fileExists(folder_.path("a"), &isDirectory));
  EXPECT_TRUE(isDirectory);
  EXPECT_FALSE(files_.fileExists(folder_.path("none"), &isDirectory));
  EXPECT_FALSE(isDirectory);
  EXPECT_TRUE(files_.fileExists(folder_.path("a/")));
  EXPECT_TRUE(files_.fileExists(file));
  EXPECT_FALSE(files_.fileExists(file + "/"));
  EXPECT_FALSE(files_.fileExists("file://" + file));
  EXPECT_FALSE(files_.fileExists(""));
  std::filesystem::create_symlink("a", folder_.path("toFolder"));
  std::filesystem::create_symlink("none", folder_.path("dangling"));
  EXPECT_TRUE(files_.fileExists(folder_.path("toFolder"), &isDirectory));
  EXPECT_TRUE(isDirectory);
  EXPECT_FALSE(files_.fileExists(folder_.path("dangling")));
}

TEST_F(FileManagerWalkTest, GivesSizes) {
  EXPECT_EQ(files_.fileSize(folder_.write("file", "abc")), 3);
  EXPECT_EQ(files_.fileSize(folder_.write("empty", "")), 0);
  EXPECT_EQ(files_.fileSize(folder_.path("none")), std::nullopt);
  std::filesystem::create_symlink("file", folder_.path("link"));
  EXPECT_EQ(files_.fileSize(folder_.path("link")), 3);
  const std::string huge = folder_.write("huge", "");
  ASSERT_EQ(::truncate(huge.c_str(), 5000000000), 0);
  EXPECT_EQ(files_.fileSize(huge), 5000000000);
}

TEST_F(FileManagerWalkTest, WalksAFolderBeforeItsContentsInNameOrder) {
  for (const std::string name : {"b/2.mp3", "b/10.mp3", "b/1/z", "a", "c", "B", "b.mp3", ".hidden",
                                 "b/.01.mp3", "10", "9"}) {
    folder_.write(name, "x");
  }
  folder_.makeFolder("empty");
  EXPECT_EQ(walked(folder_.path()),
            (Names{".hidden", "9", "10", "a", "B", "b/", "b/.01.mp3", "b/1/", "b/1/z", "b/2.mp3",
                   "b/10.mp3", "b.mp3", "c", "empty/"}));
  EXPECT_EQ(errors_, Names{});
}

TEST_F(FileManagerWalkTest, NamesAreBytes) {
  Names names = {"#hash",
                 "%41",
                 "a b",
                 "a,b",
                 "a:b",
                 "a?b",
                 "line\nfeed",
                 "quote\"\\",
                 "umlaut \xc3\xa4",
                 "\xff\xfe",
                 "\xf0\x9f\x8e\xb5"};
  for (const auto& name : names) {
    folder_.write(name, "x");
  }
  EXPECT_EQ(walked(folder_.path()), names);
}

TEST_F(FileManagerWalkTest, EntriesHaveTheirSizes) {
  folder_.write("1", "abc");
  folder_.write("2", "");
  std::filesystem::create_symlink("1", folder_.path("3"));
  const auto walk = files_.walk(folder_.path(), [](const std::string&) { return true; });
  for (const std::int64_t size : {3, 0, 3}) {
    const auto entry = walk->next();
    ASSERT_TRUE(entry);
    EXPECT_EQ(entry->size, size);
    EXPECT_EQ(entry->isDirectory, false);
  }
}

TEST_F(FileManagerWalkTest, ALinkToAFileCountsAsTheFileAndAnyOtherIsLeftOut) {
  const TempFolder elsewhere;
  elsewhere.write("in/file", "x");
  std::filesystem::create_symlink(elsewhere.path("in"), folder_.path("folder"));
  std::filesystem::create_symlink(elsewhere.path("in/file"), folder_.path("file"));
  std::filesystem::create_symlink("file", folder_.path("link to a link"));
  std::filesystem::create_symlink("none", folder_.path("dangling"));
  std::filesystem::create_symlink("itself", folder_.path("itself"));
  EXPECT_EQ(walked(folder_.path()), (Names{"file", "link to a link"}));
  EXPECT_EQ(errors_, Names{});
}

// If links were followed: a path for every order of the folders.
TEST_F(FileManagerWalkTest, FoldersThatAreLinkedToEachOtherAreWalkedOnce) {
  Names expected;
  for (const std::string name : {"1", "2", "3"}) {
    folder_.write(name + "/file", "x");
    expected.insert(expected.end(), {name + "/", name + "/file"});
    for (const std::string other : {"1", "2", "3", "."}) {
      std::filesystem::create_symlink("../" + other, folder_.path(name + "/to" + other));
    }
  }
  EXPECT_EQ(walked(folder_.path()), expected);
  EXPECT_EQ(errors_, Names{});
}

TEST_F(FileManagerWalkTest, TheWalkedFolderMayBeALinkAndGivenWithASlash) {
  folder_.write("a/b/file", "x");
  std::filesystem::create_symlink("a", folder_.path("link"));
  EXPECT_EQ(walked(folder_.path("a/")), (Names{"b/", "b/file"}));
  EXPECT_EQ(walked(folder_.path("link")), (Names{"b/", "b/file"}));
}

TEST_F(FileManagerWalkTest, AFolderThatVanishesOrBecomesALinkDuringTheWalkIsReportedAndNotEntered) {
  for (const bool becomesLink : {false, true}) {
    folder_.write("a/in", "x");
    folder_.write("b/in", "x");
    errors_.clear();
    const auto walk = files_.walk(folder_.path(), [this](const std::string& path) {
      errors_.push_back(path);
      return true;
    });
    EXPECT_EQ(walk->next()->path, folder_.path("a"));
    std::filesystem::remove_all(folder_.path("a"));
    if (becomesLink) {
      std::filesystem::create_symlink("b", folder_.path("a"));
    }
    EXPECT_EQ(walk->next()->path, folder_.path("b"));
    EXPECT_EQ(walk->next()->path, folder_.path("b/in"));
    EXPECT_FALSE(walk->next());
    EXPECT_EQ(errors_, Names{folder_.path("a")});
  }
}

TEST_F(FileManagerWalkTest, SpecialFilesAreYieldedUnopened) {
  ASSERT_EQ(::mkfifo(folder_.path("fifo.mp3").c_str(), 0600), 0);
  EXPECT_EQ(walked(folder_.path()), Names{"fifo.mp3"});
}

TEST_F(FileManagerWalkTest, AnUnreadableFolderIsReportedAndTheWalkContinuesOrEnds) {
  folder_.write("a/in", "x");
  folder_.write("b", "x");
  ::chmod(folder_.path().c_str(), 0755);
  ::chmod(folder_.path("a").c_str(), 0);
  const Unprivileged unprivileged;
  EXPECT_EQ(walked(folder_.path()), (Names{"a/", "b"}));
  EXPECT_EQ(errors_, Names{folder_.path("a")});
  goOn_ = false;
  EXPECT_EQ(walked(folder_.path()), Names{"a/"});
  EXPECT_EQ(errors_, Names(2, folder_.path("a")));
}

TEST_F(FileManagerWalkTest, AnEntryThatCannotBeLookedAtHasNoValues) {
  folder_.write("a/in", "x");
  folder_.write("b", "x");
  ::chmod(folder_.path().c_str(), 0755);
  ::chmod(folder_.path("a").c_str(), 0444);
  const Unprivileged unprivileged;
  EXPECT_EQ(walked(folder_.path()), (Names{"a/", "a/in unknown", "b"}));
  EXPECT_EQ(errors_, Names{});
}

TEST_F(FileManagerWalkTest, TakesAStepForEachLookAtAnEntryAndForEachEntryAsked) {
  folder_.write("a/in", "x");
  folder_.write("b", "x");
  int steps = 0;
  PosixFileManager files(nobody_, stop_, [&] { ++steps; });
  const auto walk = files.walk(folder_.path(), [](const std::string&) { return true; });
  std::vector<int> after;
  for (bool goesOn = true; goesOn;) {
    goesOn = walk->next().has_value();
    after.push_back(steps);
  }
  EXPECT_EQ(after, (std::vector{3, 5, 6, 7}));
}

TEST_F(FileManagerWalkTest, NothingButAFolderHasEntries) {
  const std::string fifo = folder_.path("fifo");
  ASSERT_EQ(::mkfifo(fifo.c_str(), 0600), 0);
  for (const bool goOn : {true, false}) {
    goOn_ = goOn;
    errors_.clear();
    const std::string file = folder_.write("file", "x");
    EXPECT_EQ(walked(file), Names{});
    EXPECT_EQ(walked(folder_.path("none")), Names{});
    EXPECT_EQ(walked(fifo), Names{}) << "and is not waited for";
    EXPECT_EQ(errors_, (Names{file, folder_.path("none"), fifo}));
  }
}

TEST_F(FileManagerWalkTest, ThousandsOfLevelsNeedFewDescriptors) {
  const DeepTempFolder top;
  top.makeFolders("d", 3000);
  rlimit before{};
  ::getrlimit(RLIMIT_NOFILE, &before);
  // In addition to descriptors that are open for other reasons.
  const rlimit few{highestDescriptor() + 37, before.rlim_max};
  ::setrlimit(RLIMIT_NOFILE, &few);
  const auto walk = files_.walk(top.path(), [](const std::string&) { return false; });
  int entries = 0;
  std::size_t longest = 0;
  while (const auto entry = walk->next()) {
    ++entries;
    longest = entry->path.size();
  }
  ::setrlimit(RLIMIT_NOFILE, &before);
  EXPECT_EQ(entries, 3001);
  EXPECT_EQ(longest, top.path().size() + 6004);
}

TEST_F(FileManagerWalkTest, AWalkLeavesNoDescriptorBehind) {
  folder_.write("a/b/c", "x");
  const auto count = [] {
    return std::distance(std::filesystem::directory_iterator("/proc/self/fd"), {});
  };
  const auto before = count();
  walked(folder_.path());
  walked(folder_.path("none"));
  const auto walk = files_.walk(folder_.path(), [](const std::string&) { return true; });
  EXPECT_TRUE(walk->next());
  EXPECT_EQ(count(), before);
}

}  // namespace

}  // namespace fillstation::test
