#include "ReadBack.h"

#include <fcntl.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <ctime>
#include <filesystem>
#include <limits>
#include <random>
#include <string>
#include <utility>
#include <vector>

#include "FakeCalls.h"
#include "TempFolder.h"
#include "TestFileManager.h"

namespace fillstation {
namespace {

// A source and a volume that was filled from it, both in folders of this machine.
class ReadBackTest : public testing::Test {
 protected:
  void add(const std::string& name, const std::string& content) {
    volume_.write(name, content);
    items_.push_back({false, static_cast<std::int64_t>(content.size()),
                      source_.write(name, content), "/media/then/" + name});
  }
  void addFolder(const std::string& name) {
    volume_.makeFolder(name);
    items_.push_back({true, 0, source_.makeFolder(name), "/media/then/" + name + "/"});
  }
  // Some folders, empty, small and large files, 1.5 MB in all, no block of which is like another.
  void fill() {
    addFolder("Book");
    add("Book/1.mp3", noise(700'000));
    add("Book/2.mp3", "");
    addFolder("Book/Empty");
    addFolder("Book/Part");
    for (int file = 0; file < 30; ++file) {
      add("Book/Part/" + std::to_string(file) + ".mp3",
          noise(16384U + static_cast<std::size_t>(file)));
    }
    add("last.mp3", noise(300'001));
  }
  std::string noise(std::size_t size) {
    std::string bytes(size, '\0');
    for (auto& byte : bytes) {
      byte = static_cast<char>(random_());
    }
    return bytes;
  }
  bool holds(std::uint64_t seed = 1) { return holdsInOrder(seed, false); }
  bool holdsInOrder(std::uint64_t seed, bool keepsOrder) {
    const FileHandle root(::open(volume_.path().c_str(), O_RDONLY | O_DIRECTORY));
    ReadBack readBack(root.get(), "/media/then", since_, stop_, calls_);
    return readBack.holds(test::itemsOf(items_), seed, keepsOrder);
  }
  // The names in a folder of the volume, in the order that this machine's file system has for them.
  std::vector<std::string> entriesOf(const std::string& folder) const {
    std::vector<std::string> names;
    for (const auto& entry : std::filesystem::directory_iterator(volume_.path(folder))) {
      names.push_back(entry.path().filename());
    }
    return names;
  }
  // Flips one bit in each block of a piece of everything that was written, in its order, and in its
  // first byte; done twice, everything is as before.
  void damage(std::int64_t begin, std::int64_t end) {
    std::int64_t at = 0;
    for (const auto& item : items_) {
      if (item.isDirectory || at + item.size <= begin || at >= end) {
        at += item.isDirectory ? 0 : item.size;
        continue;
      }
      const std::string path =
          volume_.path() + item.destination.substr(std::string("/media/then").size());
      std::string content = test::contentOf(path);
      for (auto& byte : content) {
        if (at == begin || (at > begin && at < end && at % 512 == 0)) {
          byte = static_cast<char>(byte ^ 1);
        }
        ++at;
      }
      std::ofstream(path, std::ios::binary) << content;
    }
  }
  std::int64_t total() const {
    std::int64_t bytes = 0;
    for (const auto& item : items_) {
      bytes += item.size;
    }
    return bytes;
  }

  test::TempFolder source_;
  test::TempFolder volume_;
  std::vector<CopiedItem> items_;
  // By default nothing has changed after that.
  std::timespec since_{std::numeric_limits<std::int32_t>::max(), 0};
  StopSource stop_;
  test::FakeCalls calls_;
  std::mt19937_64 random_{42};
};

TEST_F(ReadBackTest, GoodVolumePassesWithEverySeed) {
  fill();
  for (std::uint64_t seed = 0; seed < 100; ++seed) {
    EXPECT_TRUE(holds(seed)) << seed;
  }
}

TEST_F(ReadBackTest, LostPieceOfTwoPercentIsFoundEverywhere) {
  fill();
  const std::int64_t piece = total() / 50;
  for (std::uint64_t seed = 0; seed < 60; ++seed) {
    const auto begin =
        static_cast<std::int64_t>(random_() % static_cast<std::uint64_t>(total() - piece));
    damage(begin, begin + piece);
    EXPECT_FALSE(holds(seed)) << seed << " at " << begin;
    damage(begin, begin + piece);
  }
  EXPECT_TRUE(holds());
}

// Their last bytes have a block of their own; what is empty lies before and behind.
TEST_F(ReadBackTest, BothEndsOfTheFirstAndTheLastFileAreComparedAndLittleElse) {
  addFolder("Book");
  items_.back().size = 5000;  // of a folder, which counts for nothing
  add("Book/0.mp3", "");
  add("Book/1.mp3", noise(409'601));
  add("Book/2.mp3", noise(400'000));
  add("last.mp3", noise(409'601));
  add("none.mp3", "");
  const std::int64_t all = 409'601 + 400'000 + 409'601;
  for (std::uint64_t seed = 0; seed < 10; ++seed) {
    for (const std::int64_t at : {std::int64_t{0}, std::int64_t{409'600}, all - 409'601, all - 1}) {
      damage(at, at + 1);
      EXPECT_FALSE(holds(seed)) << seed << " at " << at;
      damage(at, at + 1);
    }
  }
  calls_.bytesAsked = 0;
  EXPECT_TRUE(holds());
  EXPECT_LE(calls_.bytesAsked, std::size_t{2} * (kStrata + 4) * 2 * kSampleBlock);
}

TEST_F(ReadBackTest, NamesThatDifferAreReadOnceMoreAndNothingIsNoDifference) {
  EXPECT_TRUE(holds());
  add("a.mp3", "x");
  damage(0, 1);
  EXPECT_FALSE(holds()) << "of the smallest file too";
  damage(0, 1);
  const FileHandle root(::open(volume_.path().c_str(), O_RDONLY | O_DIRECTORY));
  ReadBack readBack(root.get(), "/media/then", since_, stop_, calls_);
  int passes = 0;
  const CopiedItems items = [&](const auto& visitor) {
    volume_.write("a.mp3", ++passes == 1 ? "" : "x");
    test::itemsOf(items_)(visitor);
  };
  EXPECT_TRUE(readBack.holds(items, 1, false));
  EXPECT_EQ(passes, 3);
}

TEST_F(ReadBackTest, MissingNamesOtherKindsAndSizesAreFound) {
  fill();
  using Change = std::function<void(const std::string&)>;
  const auto resizedTo = [](std::uintmax_t size) {
    return [size](const std::string& path) { std::filesystem::resize_file(path, size); };
  };
  const auto replacedBy = [](const Change& make) {
    return [make](const std::string& path) {
      std::filesystem::remove_all(path);
      make(path);
    };
  };
  const Change nothing = [](const std::string&) {};
  const Change folder = [](const std::string& path) { std::filesystem::create_directory(path); };
  const Change file = [](const std::string& path) { std::ofstream(path).flush(); };
  const Change link = [](const std::string& path) { std::filesystem::create_symlink("/", path); };
  const std::vector<std::pair<std::string, Change>> changes{
      {"Book/2.mp3", replacedBy(nothing)}, {"Book/Part", replacedBy(nothing)},
      {"Book/2.mp3", resizedTo(1)},        {"Book/Part/3.mp3", resizedTo(16384)},
      {"Book/2.mp3", replacedBy(folder)},  {"Book/Empty", replacedBy(file)},
      {"Book/Part", replacedBy(link)}};
  for (const auto& [name, change] : changes) {
    const std::string path = volume_.path(name);
    const test::TempFolder aside;
    std::filesystem::copy(path, aside.path("kept"), std::filesystem::copy_options::recursive);
    change(path);
    EXPECT_FALSE(holds()) << name;
    std::filesystem::remove_all(path);
    std::filesystem::copy(aside.path("kept"), path, std::filesystem::copy_options::recursive);
  }
  EXPECT_TRUE(holds());
}

TEST_F(ReadBackTest, OrderCountsWhereItIsKept) {
  addFolder("Book");
  add("Book/1.mp3", "one");
  add("Book/2.mp3", "two");
  const bool isRight = holdsInOrder(1, true);
  std::swap(items_[1], items_[2]);
  EXPECT_NE(holdsInOrder(1, true), isRight);
  EXPECT_TRUE(holdsInOrder(1, false));
}

TEST_F(ReadBackTest, AFolderInTwoChosenOnesMayComeEarlier) {
  for (const std::string folder : {"A", "B", "C"}) {
    addFolder(folder);
    add(folder + "/1.mp3", "one");
    add(folder + "/2.mp3", "two");
  }
  const auto all = std::exchange(items_, {});
  const auto append = [&](const std::string& name) {
    items_.push_back(*std::find_if(all.begin(), all.end(), [&](const CopiedItem& item) {
      return item.destination == "/media/then/" + name;
    }));
  };
  const auto top = entriesOf("");
  const auto below = entriesOf(top[0]);
  append(top[0] + "/");
  append(top[0] + "/" + below[0]);
  append(top[1] + "/");
  append(top[0] + "/");
  append(top[0] + "/" + below[1]);
  append(top[2] + "/");
  EXPECT_TRUE(holdsInOrder(1, true));
}

TEST_F(ReadBackTest, SampleAcrossSeveralFilesIsComparedInEach) {
  for (const std::string name : {"a", "b", "c", "d"}) {
    add(name, noise(1000));
  }
  for (std::int64_t file = 0; file < 4; ++file) {
    damage(file * 1000 + 500, file * 1000 + 501);
    EXPECT_FALSE(holds()) << file;
    damage(file * 1000 + 500, file * 1000 + 501);
  }
}

TEST_F(ReadBackTest, SourceThatHasChangedSinceIsNotCompared) {
  fill();
  source_.write("Book/1.mp3", noise(700'000));
  EXPECT_FALSE(holds());
  source_.write("Book/1.mp3", "");
  EXPECT_FALSE(holds()) << "nothing is left of it";
  since_ = {};
  EXPECT_TRUE(holds());
  since_ = {1, 0};
  const timespec longAgo[2]{};
  ASSERT_EQ(::utimensat(AT_FDCWD, source_.path("Book/1.mp3").c_str(), longAgo, 0), 0);
  EXPECT_TRUE(holds()) << "with any time";
  source_.write("Book/1.mp3", "another size");
  EXPECT_TRUE(holds());
  std::filesystem::remove(source_.path("Book/1.mp3"));
  EXPECT_TRUE(holds());
  volume_.write("Book/Part/4.mp3", "");
  EXPECT_TRUE(holds()) << "its source has changed as well";
  std::filesystem::remove(volume_.path("Book/Part/4.mp3"));
  EXPECT_FALSE(holds());
}

TEST_F(ReadBackTest, SourceWithATimeInTheFutureIsCompared) {
  fill();
  const auto later = std::filesystem::file_time_type::clock::now() + std::chrono::hours(9);
  std::filesystem::last_write_time(source_.path("Book/1.mp3"), later);
  ::clock_gettime(CLOCK_REALTIME, &since_);
  EXPECT_TRUE(holds());
  damage(0, 700'000);
  EXPECT_FALSE(holds());
}

TEST_F(ReadBackTest, SourceThatChangesWhileItIsComparedIsNoFaultOfThePlayer) {
  fill();
  ::clock_gettime(CLOCK_REALTIME, &since_);
  volume_.write("Book/1.mp3", noise(700'000));
  EXPECT_FALSE(holds());
  calls_.onReadAt = [this, done = false]() mutable {
    if (!std::exchange(done, true)) {
      source_.write("Book/1.mp3", noise(700'000));
    }
  };
  EXPECT_TRUE(holds());
}

TEST_F(ReadBackTest, SourceThatCannotBeReadIsNoFaultOfThePlayer) {
  add("a.mp3", noise(1000));
  volume_.write("a.mp3", noise(1000));
  EXPECT_FALSE(holds());
  calls_.failing = "read at";
  calls_.callsUntilFailure = 1;  // the player's own content is read first
  EXPECT_TRUE(holds());
}

TEST_F(ReadBackTest, SourceThatChangedBetweenChoosingAndCopyingIsCompared) {
  fill();
  const std::string longer = noise(800'000);
  source_.write("Book/1.mp3", longer);
  volume_.write("Book/1.mp3", longer);
  EXPECT_TRUE(holds());
  volume_.write("Book/1.mp3", longer.substr(0, 790'000));
  EXPECT_FALSE(holds());
  source_.write("Book/1.mp3", longer.substr(0, 600'000));
  volume_.write("Book/1.mp3", longer.substr(0, 600'000));
  EXPECT_TRUE(holds());
  std::filesystem::remove(source_.path("Book/Empty"));
  source_.write("Book/Empty", "a file");
  EXPECT_TRUE(holds()) << "a folder has no size";
}

TEST_F(ReadBackTest, ReadErrorIsAFailureWithItsSourceOrWithout) {
  fill();
  for (const bool isThere : {true, false}) {
    calls_.failing = "read at";
    calls_.callsUntilFailure = isThere ? 40 : 0;
    EXPECT_FALSE(holds());
    calls_.failing = "";
    std::filesystem::remove_all(source_.path("Book"));
    EXPECT_TRUE(holds());
  }
}

TEST_F(ReadBackTest, ADifferenceIsReadOnceMore) {
  fill();
  calls_.disturbed = 1;
  EXPECT_TRUE(holds());
  calls_.disturbed = 1000;
  EXPECT_FALSE(holds());
}

TEST_F(ReadBackTest, StopEndsIt) {
  fill();
  stop_.request();
  EXPECT_FALSE(holds());
}

}  // namespace
}  // namespace fillstation
