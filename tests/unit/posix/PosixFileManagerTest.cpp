#include "PosixFileManager.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <filesystem>
#include <memory>
#include <string>

#include "FileHandle.h"
#include "RealMedium.h"
#include "TempFolder.h"
#include "TestItem.h"

namespace fillstation {
namespace {

class TestOwner : public VolumeOwner {
 public:
  std::shared_ptr<VolumeMedium> mediumOf(int rootDescriptor, const std::string& mountPath,
                                         const DiskIdentity& owner) override {
    ++asked;
    ::fstat(rootDescriptor, &root);
    closesOnExec = ::fcntl(rootDescriptor, F_GETFD) == FD_CLOEXEC;
    path = mountPath;
    node = owner.node;
    handle = owner.usbHandle;
    return accepts ? std::make_shared<RealMedium>() : nullptr;
  }
  std::optional<std::string> remount(const DiskIdentity& owner,
                                     const std::string& mountPath) override {
    remounted = owner.node + " " + mountPath;
    for (const auto& open : std::filesystem::directory_iterator("/proc/self/fd")) {
      std::error_code gone;
      isOpen = isOpen || std::filesystem::read_symlink(open, gone).string().starts_with(mountPath);
    }
    return comesBackAt;
  }

  bool accepts = true;
  int asked = 0;
  struct stat root {};
  bool closesOnExec = false;
  std::string remounted;
  bool isOpen = false;
  std::optional<std::string> comesBackAt;
  std::string path;
  std::string node;
  std::uint32_t handle = 0;
};

class PosixFileManagerTest : public testing::Test {
 protected:
  test::TempFolder folder_;
  TestOwner owner_;
  StopSource stop_;
  PosixFileManager files_{owner_, stop_};
};

TEST_F(PosixFileManagerTest, AsksTheOwnerAboutTheOpenRoot) {
  const auto volume = files_.openVolume(folder_.path(), {"/dev/sdb", 65540});
  ASSERT_NE(volume, nullptr);
  struct stat status {};
  ASSERT_EQ(::stat(folder_.path().c_str(), &status), 0);
  EXPECT_EQ(owner_.root.st_ino, status.st_ino);
  EXPECT_TRUE(owner_.closesOnExec);
  EXPECT_EQ(owner_.path, folder_.path());
  EXPECT_EQ(owner_.node, "/dev/sdb");
  EXPECT_EQ(owner_.handle, 65540U);
  EXPECT_TRUE(volume->flush());
}

TEST_F(PosixFileManagerTest, OpensNoVolumeThatTheOwnerRefuses) {
  owner_.accepts = false;
  EXPECT_EQ(files_.openVolume(folder_.path(), {"/dev/sdb", 1}), nullptr);
  EXPECT_EQ(owner_.asked, 1);
}

TEST_F(PosixFileManagerTest, OpensNoVolumeWhereThereIsNoFolder) {
  std::filesystem::create_directory_symlink(folder_.path(), folder_.path("link"));
  for (const auto& path : {folder_.path("none"), folder_.write("file", "a"), folder_.path("link"),
                           folder_.path("link/"), std::string("/"), std::string()}) {
    EXPECT_EQ(files_.openVolume(path, {"/dev/sdb", 1}), nullptr) << path;
  }
  EXPECT_EQ(owner_.asked, 0);
}

TEST_F(PosixFileManagerTest, TheVolumeIsKnownByItsPathWithOrWithoutSlash) {
  const std::string source = folder_.write("source", "abc");
  const std::string mount = folder_.makeFolder("mount");
  const auto volume = files_.openVolume(mount + "/", {"/dev/sdb", 1});
  ASSERT_NE(volume, nullptr);
  EXPECT_TRUE(volume->copyItem(source, mount + "/a"));
  EXPECT_EQ(test::contentOf(mount + "/a"), "abc");
}

TEST_F(PosixFileManagerTest, AWalkTellsOfEachStep) {
  for (int number = 0; number < 100; ++number) {
    folder_.write(std::to_string(number), "x");
  }
  int steps = 0;
  PosixFileManager files(owner_, stop_, [&] { ++steps; });
  const auto walk = files.walk(folder_.path(), [](const std::string&) { return true; });
  EXPECT_TRUE(walk->next());
  // While the folder is read,
  EXPECT_EQ(steps, 101);
  while (walk->next()) {
  }
  // and afterwards.
  EXPECT_EQ(steps, 201);
}

TEST_F(PosixFileManagerTest, AStopReachesItsVolumes) {
  const std::string source = folder_.write("source", "abc");
  const std::string mount = folder_.makeFolder("mount");
  const auto volume = files_.openVolume(mount, {"/dev/sdb", 1});
  ASSERT_NE(volume, nullptr);
  stop_.request();
  EXPECT_FALSE(volume->copyItem(source, mount + "/a"));
}

TEST(RealMedium, AdmitsEverythingAndFlushesTheFileSystem) {
  RealMedium medium;
  EXPECT_EQ(medium.admitDirectory("a"), 0);
  EXPECT_EQ(medium.admitFile("a", 1), 0);
  EXPECT_EQ(medium.admitBytes(1), 0);
  const FileHandle root(::open("/tmp", O_RDONLY | O_DIRECTORY));
  EXPECT_TRUE(medium.flush(root.get()));
  EXPECT_FALSE(medium.flush(-1));
}

class PosixReadBackTest : public PosixFileManagerTest {
 protected:
  PosixReadBackTest() {
    items_[0].bytes = 5;
    items_[0].from = source_.write("a.mp3", "audio");
    items_[0].to = folder_.path("Part/a.mp3");
    volume_ = files_.openVolume(folder_.path(), {"/dev/sdb", 65540});
    EXPECT_TRUE(volume_->createDirectory(folder_.path("Part")));
    EXPECT_TRUE(volume_->copyItem(items_[0].from, items_[0].to));
    EXPECT_TRUE(volume_->flush());
    again_.write("Part/a.mp3", "audio");
    owner_.comesBackAt = again_.path();
    owner_.asked = 0;
  }
  bool readBack() { return volume_->readBack(test::itemsOf(items_)); }

  test::TempFolder source_;
  test::TempFolder again_;
  std::vector<test::TestItem> items_{1};
  std::shared_ptr<Volume> volume_;
};

TEST_F(PosixReadBackTest, ClosesTheVolumeAndLooksWhereItHasComeBack) {
  EXPECT_TRUE(readBack());
  EXPECT_EQ(owner_.remounted, "/dev/sdb " + folder_.path());
  EXPECT_FALSE(owner_.isOpen);
  EXPECT_EQ(owner_.asked, 1);
  EXPECT_EQ(owner_.path, again_.path());
  again_.write("Part/a.mp3", "other");
  EXPECT_FALSE(readBack());
}

TEST_F(PosixReadBackTest, FailsWhenItDoesNotComeBack) {
  owner_.comesBackAt.reset();
  EXPECT_FALSE(readBack());
}

TEST_F(PosixReadBackTest, FailsWhenAnotherDiskIsThere) {
  owner_.accepts = false;
  EXPECT_FALSE(readBack());
}

}  // namespace
}  // namespace fillstation
