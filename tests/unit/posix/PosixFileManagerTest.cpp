#include "PosixFileManager.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/sysmacros.h>
#include <unistd.h>

#include <cerrno>
#include <filesystem>
#include <functional>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "FileHandle.h"
#include "TempFolder.h"
#include "TestFileManager.h"

namespace fillstation {
namespace {

class TestOwner : public VolumeOwner {
 public:
  std::shared_ptr<VolumeMedium> mediumOf(int rootDescriptor, const std::string& mountPath,
                                         const DiskIdentity& owner) override {
    asked.push_back(owner.node + " " + std::to_string(owner.usbHandle) + " " + mountPath);
    ::fstat(rootDescriptor, &root);
    closesOnExec = ::fcntl(rootDescriptor, F_GETFD) == FD_CLOEXEC;
    const auto given = accepts ? std::make_shared<VolumeMedium>() : nullptr;
    medium = given;
    return given;
  }
  std::optional<std::string> remount(const DiskIdentity& owner,
                                     const std::string& mountPath) override {
    remounted = owner.node + " " + mountPath;
    isOpen = isOpen || !medium.expired();
    for (const auto& open : std::filesystem::directory_iterator("/proc/self/fd")) {
      std::error_code gone;
      isOpen = isOpen || std::filesystem::read_symlink(open, gone).string().starts_with(mountPath);
    }
    return comesBackAt;
  }

  bool accepts = true;
  std::vector<std::string> asked;
  struct stat root {};
  bool closesOnExec = false;
  std::weak_ptr<VolumeMedium> medium;
  std::string remounted;
  bool isOpen = false;
  std::optional<std::string> comesBackAt;
};

std::string textOf(const VolumeFailure& failure) {
  return failure.path + ": " + std::to_string(failure.error);
}

class PosixFileManagerTest : public testing::Test {
 protected:
  std::shared_ptr<Volume> open(const std::string& path) {
    return files_.openVolume(path, {"/dev/sdb", 65540});
  }

  test::TempFolder folder_;
  TestOwner owner_;
  StopSource stop_;
  PosixFileManager files_{owner_, stop_};
};

TEST_F(PosixFileManagerTest, AsksTheOwnerAboutTheOpenRoot) {
  const auto volume = open(folder_.path());
  ASSERT_NE(volume, nullptr);
  struct stat status {};
  ASSERT_EQ(::stat(folder_.path().c_str(), &status), 0);
  EXPECT_EQ(owner_.root.st_ino, status.st_ino);
  EXPECT_TRUE(owner_.closesOnExec);
  EXPECT_TRUE(volume->flush());
  owner_.accepts = false;
  EXPECT_EQ(open(folder_.path()), nullptr);
  EXPECT_EQ(owner_.asked, (std::vector(2, "/dev/sdb 65540 " + folder_.path())));
}

TEST_F(PosixFileManagerTest, OpensNoVolumeWhereThereIsNoFolder) {
  std::filesystem::create_directory_symlink(folder_.path(), folder_.path("link"));
  for (const auto& path : {folder_.path("none"), folder_.write("file", "a"), folder_.path("link"),
                           folder_.path("link/"), std::string("/"), std::string()}) {
    EXPECT_EQ(open(path), nullptr) << path;
  }
  EXPECT_TRUE(owner_.asked.empty());
}

TEST_F(PosixFileManagerTest, TheVolumeIsKnownByItsPathWithASlashTooAndAStopReachesIt) {
  const std::string source = folder_.write("source", "abc");
  const std::string mount = folder_.makeFolder("mount");
  const auto volume = open(mount + "/");
  ASSERT_NE(volume, nullptr);
  EXPECT_TRUE(volume->copyItem(source, mount + "/a"));
  EXPECT_EQ(test::contentOf(mount + "/a"), "abc");
  stop_.request();
  EXPECT_FALSE(volume->copyItem(source, mount + "/b"));
}

TEST(VolumeMedium, FlushesTheFileSystemAndClosesSlowlyByItsMount) {
  VolumeMedium medium;
  const FileHandle root(::open("/proc", O_RDONLY | O_DIRECTORY));
  EXPECT_TRUE(medium.flush(root.get()));
  EXPECT_FALSE(medium.flush(-1));
  EXPECT_FALSE(medium.closesSlowly(root.get()));
  EXPECT_FALSE(medium.closesSlowly(-1));
}

TEST(MountPoints, AreThoseOfTheRootOfADeviceInTheirOrder) {
  using Paths = std::vector<std::string>;
  const test::TempFolder folder;
  const auto pointsIn = [&folder](const std::string& table) {
    return mountPoints(::makedev(8, 17), "", folder.write("table", table));
  };
  EXPECT_EQ(pointsIn("21 1 8:17 / /media/b rw - vfat /dev/sdb1 rw\n"
                     "22 1 8:16 / /media/c rw - vfat /dev/sdb rw\n"
                     "23 1 8:17 /Music /home/music rw - vfat /dev/sdb1 rw\n"
                     "24 1 8:17 / /media/a rw shared:3 - vfat /dev/sdb1 rw\n"),
            Paths({"/media/b", "/media/a"}));
  for (const auto& [written, path] : std::vector<std::pair<std::string, std::string>>{
           {"/m/A\\040B\\134\\011C\\012", "/m/A B\\\tC\n"},
           {"/m\\701", "/m\xC1"},
           {"/m\\x40\\8\\04", "/m\\x40\\8\\04"},  // no escapes
           {"/m\\040", "/m "}}) {
    EXPECT_EQ(pointsIn("21 1 8:17 / " + written + " rw - vfat x rw\n"), Paths({path}));
  }
  EXPECT_EQ(pointsIn("21\n\n"), Paths());
  EXPECT_EQ(mountPoints(::makedev(8, 17), "", folder.path("none")), Paths());
  struct stat proc {};
  ASSERT_EQ(::stat("/proc", &proc), 0);
  EXPECT_EQ(mountPoints(proc.st_dev), Paths({"/proc"})) << "in the kernel's table";
}

TEST(MountPoints, AnOptionIsTheFileSystemsOwnAndWhole) {
  const test::TempFolder folder;
  const std::string table =
      folder.write("mountinfo",
                   "22 1 8:1 / / rw,flush shared:1 - ext4 /dev/sda1 rw\n"
                   "40 22 8:17 / /media/b rw,nosuid shared:9 - vfat /dev/sdb1 rw,fmask=0022,flush\n"
                   "41 22 8:33 / /media/c rw - vfat /dev/sdc1 flush,rw\n"
                   "42 22 8:49 / /media/d rw - vfat /dev/sdd1 rw,noflush,flushed\n");
  std::vector<std::string> found;
  for (const unsigned number : {1U, 17U, 33U, 49U, 3U}) {
    for (const auto& path : mountPoints(::makedev(8, number), "flush", table)) {
      found.push_back(path);
    }
  }
  EXPECT_EQ(found, (std::vector<std::string>{"/media/b", "/media/c"}));
}

TEST_F(PosixFileManagerTest, AVolumeIsClosedAndReadBackWhereItHasComeBack) {
  const test::TempFolder sources;
  const test::TempFolder again;
  const std::vector<CopiedItem> items{
      {false, 5, sources.write("a.mp3", "audio"), folder_.path("Part/a.mp3")}};
  const auto volume = open(folder_.path());
  EXPECT_TRUE(volume->createDirectory(folder_.path("Part")));
  EXPECT_TRUE(volume->copyItem(items[0].source, items[0].destination));
  EXPECT_TRUE(volume->flush());
  EXPECT_FALSE(volume->readBack(test::itemsOf(items))) << "it doesn't come back";
  EXPECT_EQ(textOf(volume->failure()), ": 0");
  again.write("Part/a.mp3", "audio");
  owner_.comesBackAt = again.path();
  owner_.asked.clear();
  EXPECT_TRUE(volume->readBack(test::itemsOf(items)));
  EXPECT_EQ(owner_.remounted, "/dev/sdb " + folder_.path());
  EXPECT_FALSE(owner_.isOpen);
  EXPECT_EQ(owner_.asked, std::vector{"/dev/sdb 65540 " + again.path()});
  again.write("Part/a.mp3", "other");
  EXPECT_FALSE(volume->readBack(test::itemsOf(items)));
  again.write("Part/a.mp3", "audio");
  owner_.accepts = false;
  EXPECT_FALSE(volume->readBack(test::itemsOf(items))) << "another disk is there";
}

TEST_F(PosixFileManagerTest, AVolumeTellsWhatFailedFirstAndTheSystemsNumber) {
  const std::string source = folder_.write("source", "abc");
  const std::string folder = folder_.makeFolder("folder");
  const auto failureOf = [this](const std::function<bool(Volume&)>& act) {
    const auto volume = open(folder_.path());
    EXPECT_EQ(textOf(volume->failure()), ": 0");
    EXPECT_FALSE(act(*volume));
    return textOf(volume->failure());
  };
  const auto copy = [&](const std::string& from, const std::string& to) {
    return failureOf([&](Volume& volume) { return volume.copyItem(from, folder_.path(to)); });
  };
  EXPECT_EQ(failureOf([](Volume& volume) { return volume.createDirectory("/no"); }), ": 0");
  EXPECT_EQ(failureOf([&](Volume& volume) { return volume.createDirectory(source + "/A"); }),
            "source/A: " + std::to_string(EEXIST));
  EXPECT_EQ(copy(folder_.path("none"), "a"), "a: " + std::to_string(ENOENT));
  EXPECT_EQ(copy(folder, "a"), "a: 0") << "no file, and nothing failed";
  EXPECT_EQ(copy(source, "none/a"), "none/a: " + std::to_string(ENOENT));
  EXPECT_EQ(copy(source, "source"), "source: " + std::to_string(EEXIST));
  EXPECT_EQ(test::contentOf(source), "abc") << "what exists stays";
  EXPECT_EQ(failureOf([&](Volume& volume) {
              return volume.copyItem(source, folder_.path("none/a")) ||
                     volume.copyItem(source, source);
            }),
            "none/a: " + std::to_string(ENOENT));
}

TEST_F(PosixFileManagerTest, WhatDiffersOnAVolumeIsToldWithoutAnEarlierNumber) {
  const test::TempFolder sources;
  const std::vector<CopiedItem> items{
      {false, 5, sources.path("gone.mp3"), folder_.path("gone.mp3")},
      {false, 5, sources.write("b.mp3", "audio"), folder_.path("b.mp3")}};
  folder_.write("gone.mp3", "audio");
  folder_.write("b.mp3", "other");
  const auto volume = open(folder_.path());
  owner_.comesBackAt = folder_.path();
  EXPECT_FALSE(volume->readBack(test::itemsOf(items)));
  EXPECT_EQ(textOf(volume->failure()), "b.mp3: 0");
}

bool isOpen(int descriptor) { return ::fcntl(descriptor, F_GETFD) >= 0; }
int newDescriptor() { return ::open("/dev/null", O_RDONLY | O_CLOEXEC); }

TEST(FileHandle, ClosesItsDescriptor) {
  EXPECT_FALSE(FileHandle());
  EXPECT_EQ(FileHandle().get(), -1);
  const int descriptor = newDescriptor();
  {
    const FileHandle handle(descriptor);
    EXPECT_TRUE(handle);
    EXPECT_EQ(handle.get(), descriptor);
    EXPECT_TRUE(isOpen(descriptor));
  }
  EXPECT_FALSE(isOpen(descriptor));
}

TEST(FileHandle, DescriptorZeroIsOne) {
  const int saved = ::dup(0);
  EXPECT_TRUE(FileHandle(0));
  EXPECT_FALSE(isOpen(0));
  ::dup2(saved, 0);
  const FileHandle closes(saved);
}

TEST(FileHandle, ReleasesAndMoves) {
  const int descriptor = newDescriptor();
  FileHandle first(descriptor);
  FileHandle second(std::move(first));
  EXPECT_EQ(second.get(), descriptor);
  EXPECT_EQ(second.release(), descriptor);
  EXPECT_FALSE(second);
  EXPECT_EQ(second.get(), -1);
  EXPECT_TRUE(isOpen(descriptor));
  FileHandle third(descriptor);
  third = FileHandle();
  EXPECT_FALSE(third);
  EXPECT_FALSE(isOpen(descriptor));
}

TEST(LongPath, FindsFilesOfAnyPathLength) {
  // Cuts and limits fall at many places of a name.
  for (const int length : {1, 2, 3, 7, 200, 255}) {
    const test::DeepTempFolder top;
    const int levels = 12500 / (length + 1);
    const std::string path =
        top.makeFolders(std::string(static_cast<std::size_t>(length), 'n'), levels);
    const auto status = statLongPath(path + "/end");
    ASSERT_TRUE(status);
    EXPECT_EQ(status->st_size, 5);
    EXPECT_TRUE(S_ISDIR(statLongPath(path)->st_mode));
    EXPECT_TRUE(S_ISDIR(statLongPath(path + "/")->st_mode));
    EXPECT_FALSE(statLongPath(path + "/none"));
    EXPECT_FALSE(statLongPath(path + "/end/"));
  }
}

TEST(LongPath, SlashesDoNotMakeTheRestAbsolute) {
  const test::TempFolder folder;
  folder.write("a/file", "abc");
  for (std::size_t slashes = 3900; slashes < 4200; slashes += 7) {
    const auto status = statLongPath(folder.path("a") + std::string(slashes, '/') + "file");
    ASSERT_TRUE(status) << slashes;
    EXPECT_EQ(status->st_size, 3);
  }
  EXPECT_TRUE(statLongPath(folder.path("a") + std::string(9000, '/')));
}

TEST(LongPath, ImpossibleNamesAreNotFound) {
  const test::TempFolder folder;
  const std::string name(5000, 'n');
  std::string nowhere = "/nowhere";
  for (int level = 0; level < 3000; ++level) {
    nowhere += "/..";
  }
  for (const std::string& path :
       {name, "/" + name, "./" + name, folder.path(name), folder.path(name + "/a"), "t/" + name,
        nowhere, nowhere + "/.", std::string(), std::string("/tmp\0x", 6)}) {
    EXPECT_FALSE(statLongPath(path)) << path;
  }
  EXPECT_TRUE(statLongPath("/tmp"));
  EXPECT_FALSE(openLongPath(nowhere, O_PATH));
  EXPECT_EQ(errno, ENOENT);
}

}  // namespace
}  // namespace fillstation
