#include <fcntl.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <filesystem>

#include "BenchFolder.h"
#include "FatImage.h"
#include "FileHandle.h"
#include "TempFolder.h"

namespace fillstation {

namespace {

class BenchFolderUnitTest : public ::testing::Test {
 protected:
  BenchFolderUnitTest() { plan.name = "a"; }

  std::string label() const {
    const FileHandle file(::open(folder.path("pulled/a.img").c_str(), O_RDONLY | O_CLOEXEC));
    const auto fat = FatImage::open(file.get());
    return fat ? fat->label() : "no file system";
  }

  test::TempFolder folder;
  BenchPlayerPlan plan;
};

TEST_F(BenchFolderUnitTest, APlayerIsMadeBesideTheBench) {
  plan.label = "BOOKS";
  plan.sizeMiB = 100;
  plan.identity.vendor = "V";
  EXPECT_EQ(createPlayer(folder.path(), plan), std::nullopt);
  EXPECT_EQ(std::filesystem::file_size(folder.path("pulled/a.img")), 100U << 20);
  EXPECT_EQ(label(), "BOOKS");
  EXPECT_EQ(std::get<BenchIdentity>(readIdentity(folder.path("a.json"))), plan.identity);
  EXPECT_FALSE(std::filesystem::exists(folder.path("a.img")));
}

TEST_F(BenchFolderUnitTest, ALabelReachesTheToolUnchanged) {
  EXPECT_EQ(createPlayer(folder.path(), plan), std::nullopt);
  EXPECT_EQ(label(), "NO NAME");
  plan.label = "$HOME'`A`";
  EXPECT_EQ(createPlayer(folder.path(), plan), std::nullopt);
  EXPECT_EQ(label(), "$HOME'`A`");
}

TEST_F(BenchFolderUnitTest, ADeviceWithoutADiskHasAnEmptyImage) {
  plan.identity.disk = false;
  EXPECT_EQ(createPlayer(folder.path(), plan), std::nullopt);
  EXPECT_EQ(std::filesystem::file_size(folder.path("pulled/a.img")), 0U);
}

TEST_F(BenchFolderUnitTest, AnOldImageIsReplaced) {
  folder.write("pulled/a.img", std::string(512, 'x'));
  plan.blank = true;
  EXPECT_EQ(createPlayer(folder.path(), plan), std::nullopt);
  const FileHandle file(::open(folder.path("pulled/a.img").c_str(), O_RDONLY | O_CLOEXEC));
  char first = 'x';
  EXPECT_EQ(::pread(file.get(), &first, 1, 0), 1);
  EXPECT_EQ(first, '\0');
}

TEST_F(BenchFolderUnitTest, AFailedCreationHasAReason) {
  const std::string blocked = folder.write("file", "x");
  EXPECT_EQ(createPlayer(blocked, plan), blocked + "/pulled/a.img can't be written");
  folder.makeFolder("a.json");
  EXPECT_EQ(createPlayer(folder.path(), plan), folder.path("a.json") + " can't be written");
  std::filesystem::remove(folder.path("a.json"));
  std::filesystem::create_symlink("/dev/full", folder.path("a.json"));
  EXPECT_EQ(createPlayer(folder.path(), plan), folder.path("a.json") + " can't be written");
  plan.sizeMiB = -1;
  EXPECT_EQ(createPlayer(folder.path(), plan), folder.path("pulled/a.img") + " can't be written");
  plan.sizeMiB = 64;
  plan.label = "A.B";
  EXPECT_TRUE(createPlayer(folder.path(), plan)->starts_with("mkfs.fat: "));
}

TEST_F(BenchFolderUnitTest, PluggingAndUnpluggingMovesTheImageIntoAFolderThatMayBeMissing) {
  EXPECT_FALSE(plugPlayer(folder.path(), "a"));
  EXPECT_EQ(createPlayer(folder.path(), plan), std::nullopt);
  EXPECT_FALSE(unplugPlayer(folder.path(), "a"));
  EXPECT_TRUE(plugPlayer(folder.path(), "a"));
  EXPECT_TRUE(std::filesystem::exists(folder.path("a.img")));
  EXPECT_FALSE(plugPlayer(folder.path(), "a"));
  std::filesystem::remove_all(folder.path("pulled"));
  EXPECT_TRUE(unplugPlayer(folder.path(), "a"));
  EXPECT_TRUE(std::filesystem::exists(folder.path("pulled/a.img")));
}

}  // namespace

}  // namespace fillstation
