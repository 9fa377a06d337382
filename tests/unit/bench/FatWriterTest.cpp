#include "FatWriter.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <ctime>
#include <filesystem>

#include "FileHandle.h"
#include "TempFolder.h"

namespace fillstation {

namespace {

constexpr std::int64_t kCluster = 512;  // 16 slots
// 64 MiB less 32 reserved sectors, two tables and the root's cluster.
constexpr std::int64_t kFreeClusters = 129021;

class FatWriterTest : public ::testing::Test {
 protected:
  FatWriterTest() {
    const std::string image = folder_.path("image");
    const std::string made = "truncate -s 64M " + image +
                             "; PATH=\"$PATH:/usr/sbin\" mkfs.fat -F32 " + image + " >/dev/null";
    EXPECT_EQ(std::system(made.c_str()), 0);
    file_ = FileHandle(::open(image.c_str(), O_RDWR | O_CLOEXEC));
    writer.emplace(*FatImage::open(file_.get()));
    writer->haveDirectory("", directoryWith(1));
  }

  // A directory of one cluster with this number of slots in use.
  static FatDirectory directoryWith(std::int64_t usedSlots) {
    FatDirectory directory;
    directory.clusters = {2};
    directory.usedSlots = usedSlots;
    return directory;
  }

  // Leaves this number of clusters free.
  void leave(std::int64_t clusters) { addFile("room", (kFreeClusters - clusters) * kCluster); }

  void addFile(const std::string& path, std::int64_t size) {
    std::filesystem::resize_file(folder_.write("source", ""), static_cast<std::uintmax_t>(size));
    writer->add(path, folder_.path("source"));
  }
  void addFolder(const std::string& path) { writer->add(path, folder_.path()); }

  // Adds a file of five bytes that was changed in that year, on 3 February, 04:05:07.
  void addFileOf(int year, const std::string& path) {
    const std::string source = folder_.write("dated", "12345");
    std::tm changed{};
    changed.tm_year = year - 1900;
    changed.tm_mon = 1;
    changed.tm_mday = 3;
    changed.tm_hour = 4;
    changed.tm_min = 5;
    changed.tm_sec = 7;
    changed.tm_isdst = -1;
    const timespec when{std::mktime(&changed), 0};
    const timespec times[2]{when, when};
    ASSERT_EQ(::utimensat(AT_FDCWD, source.c_str(), times, 0), 0);
    writer->add(path, source);
  }

  FatLayout layout() const { return FatImage::open(file_.get())->layout(); }
  std::string bytesAt(std::int64_t offset, std::size_t count) const {
    std::string bytes(count, '?');
    EXPECT_EQ(::pread(file_.get(), bytes.data(), count, offset), static_cast<ssize_t>(count));
    return bytes;
  }

  test::TempFolder folder_;
  FileHandle file_;
  std::optional<FatWriter> writer;
};

TEST_F(FatWriterTest, AFileTakesWholeClustersOfTheRoom) {
  leave(2);
  for (const std::int64_t room : {2, 1}) {
    EXPECT_EQ(writer->admit("a", 0), 0);
    EXPECT_EQ(writer->admit("a", room * kCluster), 0);
    EXPECT_EQ(writer->admit("a", room * kCluster + 1), ENOSPC);
    addFile("b", 1);
  }
}

TEST_F(FatWriterTest, ADirectoryTakesOneCluster) {
  leave(1);
  EXPECT_EQ(writer->admit("d", std::nullopt), 0);
  addFolder("d");
  EXPECT_EQ(writer->admit("e", std::nullopt), ENOSPC);
  EXPECT_EQ(writer->admit("e", 0), 0);
}

TEST_F(FatWriterTest, ADirectoryGrowsWithItsNames) {
  leave(1);
  addFolder("d");
  // Two slots are the directory's own; seven names of two slots fill the cluster.
  for (const std::string name : {"1", "2", "3", "4", "5", "6", "7"}) {
    EXPECT_EQ(writer->admit("d/" + name, 0), 0) << name;
    addFile("d/" + name, 0);
  }
  EXPECT_EQ(writer->admit("d/8", 0), ENOSPC);
}

TEST_F(FatWriterTest, GrowthIsTakenFromTheRoom) {
  leave(3);
  writer->haveDirectory("", directoryWith(16));
  addFile("a", kCluster);
  EXPECT_EQ(writer->admit("b", kCluster), 0);
  EXPECT_EQ(writer->admit("b", kCluster + 1), ENOSPC);
}

TEST_F(FatWriterTest, AClusterThatADirectoryHasToSpareIsNoRoom) {
  leave(1);
  FatDirectory directory = directoryWith(1);
  directory.clusters = {2, 3};
  writer->haveDirectory("", directory);
  EXPECT_EQ(writer->admit("b", kCluster), 0);
  EXPECT_EQ(writer->admit("b", kCluster + 1), ENOSPC);
}

TEST_F(FatWriterTest, EveryByteOfAnEntryIsInItsPlace) {
  addFileOf(2001, "a.mp3");
  addFileOf(1975, "b.mp3");
  ASSERT_TRUE(writer->write(2));
  const std::int64_t root = layout().offsetOf(2);
  EXPECT_EQ(bytesAt(root + 32, 64), std::string("\x41"
                                                "a\0.\0m\0p\0"
                                                "3\0\x0F\0\x38\0\0",
                                                16) +
                                        std::string(10, '\xFF') + std::string(2, '\0') +
                                        std::string(4, '\xFF') + "00000001   " + '\x20' +
                                        std::string(10, '\0') +
                                        std::string("\xA3\x20\x43\x2A\3\0\5\0\0\0", 10));
  // There is no earlier year than 1980.
  EXPECT_EQ(bytesAt(root + 150, 4), std::string("\xA3\x20\x43\0", 4));
  EXPECT_EQ(bytesAt(layout().tables + 12, 4), "\xFF\xFF\xFF\x0F");
}

TEST_F(FatWriterTest, AFoldersClusterIsEmptiedFirst) {
  const std::string old(kCluster, 'x');
  ASSERT_EQ(::pwrite(file_.get(), old.data(), old.size(), layout().offsetOf(3)), kCluster);
  addFolder("d");
  ASSERT_TRUE(writer->write(1));
  EXPECT_EQ(FatImage::open(file_.get())->list(3)->usedSlots, 2);
}

TEST_F(FatWriterTest, AFileThatHasBecomeShorterWaitsUntilItCanBeWritten) {
  writer->add("a", folder_.write("changing", "12345"));
  folder_.write("changing", "123");
  ASSERT_FALSE(writer->write(1));
  EXPECT_EQ(writer->waiting(), 1U);
  EXPECT_EQ(writer->waitingBytes(), 5);
  folder_.write("changing", "12345");
  EXPECT_TRUE(writer->write(1));
  EXPECT_EQ(writer->waiting(), 0U);
  EXPECT_EQ(writer->waitingBytes(), 0);
}

TEST_F(FatWriterTest, AFileWithoutRoomForItsLastByteIsNotWritten) {
  addFile("a", kFreeClusters * kCluster + 1);
  EXPECT_FALSE(writer->write(1));
}

TEST_F(FatWriterTest, ADirectoryHasAtMost65535Slots) {
  writer->haveDirectory("", directoryWith(65533));
  EXPECT_EQ(writer->admit("a", 0), 0);
  writer->haveDirectory("", directoryWith(65534));
  EXPECT_EQ(writer->admit("a", 0), ENOSPC);
}

TEST_F(FatWriterTest, NamesCollideWithinOneDirectory) {
  addFolder("D");
  addFile("D/Track", 1);
  EXPECT_EQ(writer->admit("D/tRACK", 1), EEXIST);
  EXPECT_EQ(writer->admit("D/Track.", 1), EEXIST);
  EXPECT_EQ(writer->admit("d", std::nullopt), EEXIST);
  EXPECT_EQ(writer->admit("Track", 1), 0);
}

TEST_F(FatWriterTest, AFileIsSmallerThanFourGiB) {
  EXPECT_EQ(writer->admit("a", 0xFFFFFFFF), ENOSPC);
  EXPECT_EQ(writer->admit("a", 0x100000000), EFBIG);
}

TEST_F(FatWriterTest, AParentMustBeThere) { EXPECT_EQ(writer->admit("d/x", 1), ENOENT); }

std::string times(std::string_view text, int count) {
  std::string all;
  for (int time = 0; time < count; ++time) {
    all += text;
  }
  return all;
}

TEST_F(FatWriterTest, NamesHaveAtMost255Units) {
  for (const std::string& name :
       {times("a", 255), times("ü", 255), times("😀", 127), times("a", 255) + "."}) {
    EXPECT_EQ(writer->admit(name, 1), 0) << name;
  }
  for (const std::string& name : {times("a", 256), times("😀", 128)}) {
    EXPECT_EQ(writer->admit(name, 1), ENAMETOOLONG) << name;
  }
}

TEST_F(FatWriterTest, ABadNameIsRefusedByItsLastComponent) {
  writer->haveDirectory("a:b", directoryWith(2));
  EXPECT_EQ(writer->admit("a:b/x", 1), 0);
}

TEST_F(FatWriterTest, CaseCountsBeyondAsciiAlone) {
  addFile("AZ@[Ü", 1);
  EXPECT_EQ(writer->admit("az@[Ü", 1), EEXIST);
  for (const std::string name : {"az`[Ü", "az@{Ü", "az@[ü"}) {
    EXPECT_EQ(writer->admit(name, 1), 0) << name;
  }
}

TEST_F(FatWriterTest, ASlotTakesThirteenUnits) {
  leave(0);
  writer->haveDirectory("", directoryWith(14));
  for (const std::string& name : {std::string("a"), times("a", 13), times("a", 13) + "."}) {
    EXPECT_EQ(writer->admit(name, 0), 0) << name;
  }
  EXPECT_EQ(writer->admit(times("a", 14), 0), ENOSPC);
}

}  // namespace

}  // namespace fillstation
