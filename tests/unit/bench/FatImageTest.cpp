#include "FatImage.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdio>
#include <filesystem>

#include "BenchVolume.h"
#include "ChildProcess.h"
#include "FileHandle.h"
#include "TempFolder.h"

namespace fillstation {

namespace {

constexpr std::int64_t kTable = 32 * 512;   // of an image of 64 MiB
constexpr std::int64_t kRoot = 2050 * 512;  // its first cluster, which has the number 2
constexpr std::uint32_t kLast = 0x0FFFFFFF;

std::string littleEndian(std::uint32_t number) {
  std::string bytes;
  for (int shift = 0; shift < 32; shift += 8) {
    bytes += static_cast<char>(number >> shift & 0xFF);
  }
  return bytes;
}

std::string entrySlot(const std::string& name, char attributes, char flags = 0,
                      std::uint32_t cluster = 0, std::uint32_t size = 0) {
  return name + attributes + flags + std::string(13, '\0') + littleEndian(cluster).substr(0, 2) +
         littleEndian(size);
}

// A slot of a long name that has up to five letters.
std::string nameSlot(char number, const std::string& text) {
  std::string units;
  for (const char letter : text) {
    units += {letter, '\0'};
  }
  units.resize(10);
  return number + units + '\x0F' + std::string(20, '\0');
}

// An image made by the tools themselves.
class FatImageTest : public ::testing::Test {
 protected:
  void make(const std::string& mkfsOptions = "-F32 -n BOOKS", const std::string& size = "64M") {
    shell("truncate -s " + size + " \"$I\" && mkfs.fat " + mkfsOptions + " \"$I\"");
    file_ = FileHandle(::open(path().c_str(), O_RDWR | O_CLOEXEC));
  }

  void shell(const std::string& line) {
    const auto result = runShell("export I='" + path() + "' D='" + folder_.path() +
                                 "' PATH=\"$PATH:/usr/sbin\" LC_ALL=C.UTF-8; " + line);
    EXPECT_EQ(result.exitStatus, 0) << result.err;
  }

  std::string path() const { return folder_.path("a.img"); }
  int file() const { return file_.get(); }
  FatImage image() const { return *FatImage::open(file()); }
  FatDirectory root() const { return *image().list(image().layout().rootCluster); }

  void patch(std::int64_t offset, const std::string& bytes) const {
    ASSERT_EQ(::pwrite(file(), bytes.data(), bytes.size(), offset),
              static_cast<ssize_t>(bytes.size()));
  }
  std::string bytesAt(std::int64_t offset, std::size_t count) const {
    std::string bytes(count, '\0');
    EXPECT_EQ(::pread(file(), bytes.data(), count, offset), static_cast<ssize_t>(count));
    return bytes;
  }

  void link(std::uint32_t cluster, std::uint32_t next) const {
    patch(kTable + std::int64_t{cluster} * 4, littleEndian(next));
  }

  // Why the image isn't mounted; empty when it is.
  std::string refusal() const {
    const auto mounted = BenchVolume::mount(file(), folder_.path("volumes"));
    const auto* refused = std::get_if<Dissenter>(&mounted);
    return refused != nullptr ? refused->reason : "";
  }

  std::vector<std::string> names() const {
    std::vector<std::string> all;
    for (const auto& entry : root().entries) {
      all.push_back(entry.name);
    }
    return all;
  }

  // The content of a file as it is copied out, none when that fails.
  std::optional<std::string> contentOf(const FatEntry& entry) const {
    std::FILE* target = std::tmpfile();
    const bool copied = image().copyContent(entry, ::fileno(target));
    std::string bytes(entry.size, '\0');
    const bool read = ::pread(::fileno(target), bytes.data(), bytes.size(), 0) ==
                      static_cast<ssize_t>(bytes.size());
    std::fclose(target);
    return copied && read ? std::optional(bytes) : std::nullopt;
  }

  test::TempFolder folder_;
  FileHandle file_;
};

TEST(FatTextTest, TextsAreConvertedBothWays) {
  EXPECT_EQ(utf16Of("aü😀"), u"aü😀");
  EXPECT_EQ(utf16Of("\xEF\xBB\xBF"
                    "a"),
            u"\uFEFFa");
  EXPECT_EQ(utf16Of("\xff"), std::nullopt);
  EXPECT_EQ(utf8Of(u"aü😀"), "aü😀");
  EXPECT_EQ(utf8Of(std::u16string(1, char16_t{0xD83D}) + u"x"), "?x");
}

TEST_F(FatImageTest, TheRootsLabelCountsAndWithoutOneTheBootSectors) {
  make();
  EXPECT_EQ(image().label(), "BOOKS");
  shell("mlabel -i \"$I\" ::NEW");
  EXPECT_EQ(image().label(), "NEW");
  make("-F32");
  EXPECT_EQ(image().label(), "NO NAME");
  patch(71, "BOOT       ");
  EXPECT_EQ(image().label(), "BOOT");
  patch(71, "ELEVEN CHRS");
  EXPECT_EQ(image().label(), "ELEVEN CHRS");
  patch(71, "\x80 ~B\x7f\x1f     ");
  EXPECT_EQ(image().label(), "_ ~B__");
  patch(71, "           ");
  EXPECT_EQ(image().label(), "NO NAME");
}

TEST_F(FatImageTest, SectorsOf4096BytesAreTheLargest) {
  make("-F32 -S4096 -s1", "300M");
  patch(32, littleEndian(76700));  // less than there is room for
  EXPECT_TRUE(FatImage::open(file()));
  patch(11, "\x01\x10");
  EXPECT_FALSE(FatImage::open(file()));
}

TEST_F(FatImageTest, ThereMayBeASingleTable) {
  make("-F32 -f1");
  EXPECT_TRUE(FatImage::open(file()));
}

TEST_F(FatImageTest, ThereAreAsManyClustersAsThePlaceAndTheTablesAllow) {
  make("-F32 -s8", "300M");
  patch(32, littleEndian(614400));
  EXPECT_EQ(image().layout().clusterBytes, 4096);
  EXPECT_EQ(image().layout().clusters, ((300 << 20) - image().layout().data) / 4096);
  make();
  patch(32, littleEndian(2050 + 65525));
  EXPECT_EQ(image().layout().clusters, 65525U);
  patch(32, littleEndian(2050 + 65524));
  EXPECT_FALSE(FatImage::open(file()));
  // Tables of 512 sectors have 65,536 numbers; the first two are no cluster's.
  patch(32, littleEndian(131072));
  patch(36, littleEndian(512));
  EXPECT_EQ(image().layout().clusters, 65534U);
}

TEST_F(FatImageTest, OnlyTheFileSystemsClustersAreRead) {
  make();
  patch(32, littleEndian(2050 + 65525));  // the image goes on behind the last
  link(65526, kLast);
  link(65527, kLast);
  EXPECT_TRUE(image().list(65526));
  for (const std::uint32_t cluster : {0U, 1U, 65527U}) {
    EXPECT_FALSE(image().list(cluster)) << cluster;
  }
}

TEST_F(FatImageTest, AChainEndsAtItsEndMarkOnly) {
  make();
  for (const auto& [next, isEnd] :
       {std::pair{0x0FFFFFF8U, true}, {0x0FFFFFF7U, false}, {2U, false}}) {
    link(2, next);
    EXPECT_EQ(image().list(2).has_value(), isEnd) << next;
  }
}

TEST_F(FatImageTest, ADirectoryHasAtMost65536Slots) {
  make();
  for (std::uint32_t cluster = 2; cluster < 4097; ++cluster) {
    link(cluster, cluster + 1);
  }
  link(4097, kLast);
  EXPECT_TRUE(image().list(2));
  link(4097, 4098);
  link(4098, kLast);
  EXPECT_FALSE(image().list(2));
}

TEST_F(FatImageTest, WhatCannotBeReadOrWrittenCompletelyFails) {
  make();
  folder_.write("AB", "12345");
  shell("mcopy -i \"$I\" \"$D/AB\" ::/");
  const FatImage opened = image();
  const FatEntry whole = root().entries.at(0);
  const auto copies = [&opened](const FatEntry& entry, const char* target) {
    const FileHandle sink(::open(target, O_WRONLY | O_CLOEXEC));
    return opened.copyContent(entry, sink.get());
  };
  EXPECT_TRUE(copies(whole, "/dev/null"));
  EXPECT_FALSE(copies(whole, "/dev/full"));
  FatEntry damaged = whole;
  damaged.size = 513;
  EXPECT_FALSE(copies(damaged, "/dev/null"));
  damaged.firstCluster = 1;
  EXPECT_FALSE(copies(damaged, "/dev/null"));
  std::filesystem::resize_file(path(), kRoot);
  EXPECT_FALSE(copies(whole, "/dev/null"));
  EXPECT_FALSE(opened.list(2));
  std::filesystem::resize_file(path(), 0);
  EXPECT_FALSE(opened.list(2));
}

TEST_F(FatImageTest, AnIncompleteFat32IsNone) {
  make("-F16");
  EXPECT_FALSE(FatImage::open(file()));
  make();
  for (const std::uintmax_t size : {(64U << 20) - 512, 100U, 0U, 64U << 20}) {
    std::filesystem::resize_file(path(), size);
    EXPECT_FALSE(FatImage::open(file())) << size;
  }
}

TEST_F(FatImageTest, ABootSectorThatMakesNoSenseIsNone) {
  make();
  const std::string good = bytesAt(0, 512);
  const auto refused = [&](std::int64_t offset, const std::string& bytes) {
    patch(offset, bytes);
    const bool none = !FatImage::open(file());
    patch(0, good);
    return none;
  };
  EXPECT_TRUE(refused(510, std::string(2, '\0')));
  EXPECT_TRUE(refused(82, "FAT16   "));
  EXPECT_TRUE(refused(82, "FAT32  x"));
  EXPECT_TRUE(refused(11, std::string("\0\1", 2)));
  EXPECT_TRUE(refused(11, "\xff\1"));
  EXPECT_TRUE(refused(11, std::string("\0\x20", 2)));
  EXPECT_TRUE(refused(13, std::string(1, '\0')));
  EXPECT_TRUE(refused(16, std::string(1, '\0')));
  EXPECT_TRUE(refused(32, std::string(4, '\0')));
  EXPECT_TRUE(refused(32, std::string(4, '\xff')));
  EXPECT_TRUE(refused(36, std::string(4, '\0')));
  EXPECT_TRUE(refused(48, std::string("\x20\0", 2)));
  EXPECT_TRUE(refused(36, std::string(4, '\xff')));
  EXPECT_FALSE(refused(0, "xyz"));
}

TEST_F(FatImageTest, EntriesAreListedInTheirOrderWithAllThatTheySay) {
  make();
  shell(
      "mkdir \"$D/src\"; cd \"$D/src\"; printf 12345 > 'Long Name with Ümläut.mp3'; "
      "printf 1 > short.txt; printf '' > EMPTY; "
      "mcopy -i \"$I\" 'Long Name with Ümläut.mp3' short.txt EMPTY ::/; mmd -i \"$I\" ::/sub");
  const FatDirectory listed = root();
  EXPECT_EQ(names(),
            std::vector<std::string>({"Long Name with Ümläut.mp3", "short.txt", "EMPTY", "sub"}));
  ASSERT_EQ(listed.entries.size(), 4U);
  EXPECT_EQ(listed.label, "BOOKS");
  // The label, a name of 25 units and four short names.
  EXPECT_EQ(listed.usedSlots, 1 + 2 + 4);
  EXPECT_EQ(listed.entries[0].size, 5U);
  EXPECT_FALSE(listed.entries[0].isDirectory);
  EXPECT_EQ(listed.entries[2].firstCluster, 0U);
  EXPECT_TRUE(listed.entries[3].isDirectory);
  EXPECT_EQ(listed.entries[3].size, 0U);
  EXPECT_EQ(contentOf(listed.entries[0]), "12345");
  EXPECT_EQ(contentOf(listed.entries[2]), "");
  const auto sub = image().list(listed.entries[3].firstCluster);
  ASSERT_TRUE(sub);
  EXPECT_TRUE(sub->entries.empty());
  EXPECT_EQ(sub->usedSlots, 2);
}

TEST_F(FatImageTest, DeletedEntriesAreLeftOut) {
  make();
  shell(
      "cd \"$D\"; printf 1 > 'a long name that goes.mp3'; printf 2 > stays; "
      "mcopy -i \"$I\" 'a long name that goes.mp3' stays ::/; "
      "mdel -i \"$I\" '::/a long name that goes.mp3'");
  EXPECT_EQ(names(), std::vector<std::string>({"stays"}));
  EXPECT_EQ(root().usedSlots, 1 + 3 + 1);
}

TEST_F(FatImageTest, ALongNameBelongsToTheEntryRightBehindIt) {
  make();
  patch(kRoot, nameSlot('\x41', "ghost") + nameSlot('\x41', "real") + entrySlot("A          ", 0) +
                   entrySlot("B          ", 0) + nameSlot('\x41', "gone") +
                   entrySlot("\xE5          ", 0) + entrySlot("C          ", 0) +
                   nameSlot('\x41', "gone") + entrySlot("LABEL      ", 8) +
                   entrySlot("D          ", 0) + nameSlot('\x01', "rest") +
                   entrySlot("E          ", 0));
  EXPECT_EQ(names(), std::vector<std::string>({"real", "B", "C", "D", "rest"}));
}

TEST_F(FatImageTest, AShortNamesCaseAndAnEntrysKindAreSaidByOneBitEach) {
  make();
  patch(kRoot, entrySlot("EIGHTCH1TXT", '\x2F' & ~'\x08', '\xE7', 0, 3) +
                   entrySlot("EIGHTCH2TXT", '\x20', '\x08') +
                   entrySlot("EIGHTCH3TXT", '\x20', '\x10') +
                   entrySlot("EIGHTCH4TXT", '\x10', '\x18', 0, 3));
  EXPECT_EQ(names(), std::vector<std::string>(
                         {"EIGHTCH1.TXT", "eightch2.TXT", "EIGHTCH3.txt", "eightch4.txt"}));
  const auto entries = root().entries;
  ASSERT_EQ(entries.size(), 4U);
  EXPECT_FALSE(entries[0].isDirectory);
  EXPECT_EQ(entries[0].size, 3U);
  EXPECT_TRUE(entries[3].isDirectory);
  EXPECT_EQ(entries[3].size, 0U);
}

TEST_F(FatImageTest, ADamagedFileSystemIsNotMounted) {
  make("-F16");
  EXPECT_EQ(refusal(), "There is no FAT32 file system.");
  make();
  link(3, kLast);
  link(4, kLast);
  const std::string folder = entrySlot("F          ", '\x10', 0, 3);
  const std::string file = entrySlot("A          ", '\x20', 0, 4, 5);
  patch(kRoot, folder + file);
  EXPECT_EQ(refusal(), "");
  const std::string twoOfAFolder = folder + entrySlot("G          ", '\x10', 0, 3);
  const std::string brokenFolder = entrySlot("F          ", '\x10', 0, 1);
  const std::string brokenFile = entrySlot("A          ", '\x20', 0, 1, 5);
  for (const std::string& slots :
       {twoOfAFolder, brokenFolder, brokenFile, file + file, folder + folder,
        nameSlot('\x41', "..") + file, nameSlot('\x41', "..") + folder,
        nameSlot('\x41', ".") + folder, nameSlot('\x41', "") + folder}) {
    patch(kRoot, slots + std::string(32, '\0'));
    EXPECT_EQ(refusal(), "The file system can't be read.");
  }
}

// Overwrites the name of the only entry behind the label.
TEST_F(FatImageTest, AnEntryThatWouldLeaveTheVolumesFolderIsRefused) {
  make();
  folder_.write("AB", "x");
  shell("mcopy -i \"$I\" \"$D/AB\" ::/");
  const std::int64_t root = 2050 * 512;
  ASSERT_EQ(bytesAt(root + 32, 11), "AB         ");
  EXPECT_TRUE(std::holds_alternative<std::shared_ptr<BenchVolume>>(
      BenchVolume::mount(file(), folder_.path("volumes"))));
  for (const std::string name : {"../       B", "A/B        ", "           "}) {
    patch(root + 32, name);
    EXPECT_TRUE(
        std::holds_alternative<Dissenter>(BenchVolume::mount(file(), folder_.path("volumes"))))
        << name;
  }
  EXPECT_FALSE(std::filesystem::exists(folder_.path("volumes/BOOKS1")));
}

TEST_F(FatImageTest, ALabelIsMadeAFoldersName) {
  make();
  patch(2050 * 512, "..         ");
  auto dots = BenchVolume::mount(file(), folder_.path("volumes"));
  EXPECT_EQ(std::get<std::shared_ptr<BenchVolume>>(dots)->folder(), folder_.path("volumes/_."));
  patch(2050 * 512, "A/B        ");
  auto slash = BenchVolume::mount(file(), folder_.path("volumes"));
  EXPECT_EQ(std::get<std::shared_ptr<BenchVolume>>(slash)->folder(), folder_.path("volumes/A_B"));
}

TEST_F(FatImageTest, AVolumesFolderThatCannotBeMadeIsADissenter) {
  make();
  const std::string blocked = folder_.write("file", "x");
  const auto mounted = BenchVolume::mount(file(), blocked);
  EXPECT_EQ(std::get<Dissenter>(mounted).reason, "No folder can be made in " + blocked + ".");
}

}  // namespace

}  // namespace fillstation
