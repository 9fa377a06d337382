#include "FatLedger.h"

#include <gtest/gtest.h>

#include <cerrno>

namespace fillstation {

namespace {

constexpr std::int64_t kCluster = 512;  // 16 slots

// A volume with an empty root whose one cluster is in use.
FatLedger volumeOf(std::int64_t freeClusters) {
  FatLedger ledger(kCluster, freeClusters);
  ledger.haveDirectory("", 1);
  return ledger;
}

TEST(FatLedgerTest, AFileTakesWholeClusters) {
  const FatLedger ledger = volumeOf(2);
  EXPECT_EQ(ledger.admit("a", 0), 0);
  EXPECT_EQ(ledger.admit("a", 2 * kCluster), 0);
  EXPECT_EQ(ledger.admit("a", 2 * kCluster + 1), ENOSPC);
}

TEST(FatLedgerTest, WhatWasAddedIsGoneFromTheRoom) {
  FatLedger ledger = volumeOf(3);
  ledger.add("a", kCluster + 1);
  EXPECT_EQ(ledger.admit("b", kCluster), 0);
  EXPECT_EQ(ledger.admit("b", kCluster + 1), ENOSPC);
}

TEST(FatLedgerTest, AdmittingAloneTakesNothing) {
  const FatLedger ledger = volumeOf(1);
  EXPECT_EQ(ledger.admit("a", kCluster), 0);
  EXPECT_EQ(ledger.admit("a", kCluster), 0);
}

TEST(FatLedgerTest, ADirectoryTakesOneCluster) {
  FatLedger ledger = volumeOf(1);
  EXPECT_EQ(ledger.admit("d", std::nullopt), 0);
  ledger.add("d", std::nullopt);
  EXPECT_EQ(ledger.admit("e", std::nullopt), ENOSPC);
  EXPECT_EQ(ledger.admit("e", 0), 0);
}

TEST(FatLedgerTest, ADirectoryGrowsWithItsNames) {
  FatLedger ledger = volumeOf(1);
  ledger.add("d", std::nullopt);
  // Two slots are the directory's own; seven names of two slots fill the cluster.
  for (const std::string name : {"1", "2", "3", "4", "5", "6", "7"}) {
    EXPECT_EQ(ledger.admit("d/" + name, 0), 0) << name;
    ledger.add("d/" + name, 0);
  }
  EXPECT_EQ(ledger.admit("d/8", 0), ENOSPC);
}

TEST(FatLedgerTest, GrowthIsTakenFromTheRoom) {
  FatLedger ledger(kCluster, 3);
  ledger.haveDirectory("", 16);
  ledger.add("a", kCluster);
  EXPECT_EQ(ledger.admit("b", kCluster), 0);
  EXPECT_EQ(ledger.admit("b", kCluster + 1), ENOSPC);
}

TEST(FatLedgerTest, ADirectoryHasAtMost65536Slots) {
  FatLedger ledger(kCluster, 1'000'000);
  ledger.haveDirectory("", 65534);
  EXPECT_EQ(ledger.admit("a", 0), 0);
  ledger.haveDirectory("", 65535);
  EXPECT_EQ(ledger.admit("a", 0), ENOSPC);
}

TEST(FatLedgerTest, NamesCollideWithinOneDirectory) {
  FatLedger ledger = volumeOf(100);
  ledger.add("D", std::nullopt);
  ledger.add("D/Track", 1);
  EXPECT_EQ(ledger.admit("D/tRACK", 1), EEXIST);
  EXPECT_EQ(ledger.admit("D/Track.", 1), EEXIST);
  EXPECT_EQ(ledger.admit("d", std::nullopt), EEXIST);
  EXPECT_EQ(ledger.admit("Track", 1), 0);
}

TEST(FatLedgerTest, WhatIsThereAlreadyCollidesToo) {
  FatLedger ledger = volumeOf(100);
  ledger.haveDirectory("d", 2);
  ledger.haveName("d");
  ledger.haveName("d/x");
  EXPECT_EQ(ledger.admit("D", std::nullopt), EEXIST);
  EXPECT_EQ(ledger.admit("d/X", 1), EEXIST);
  EXPECT_EQ(ledger.admit("x", 1), 0);
}

TEST(FatLedgerTest, AFileIsSmallerThanFourGiB) {
  const FatLedger ledger = volumeOf(std::int64_t{1} << 40);
  EXPECT_EQ(ledger.admit("a", 0xFFFFFFFF), 0);
  EXPECT_EQ(ledger.admit("a", 0x100000000), EFBIG);
}

TEST(FatLedgerTest, AParentMustBeThere) { EXPECT_EQ(volumeOf(9).admit("d/x", 1), ENOENT); }

std::string times(std::string_view text, int count) {
  std::string all;
  for (int time = 0; time < count; ++time) {
    all += text;
  }
  return all;
}

TEST(FatLedgerTest, OnlyNamesThatFatHoldsAreAdmitted) {
  for (const std::string name :
       {"a", "a.mp3", " a", "a b", "ü", "😀", "a+,;=[]b", "-", "~!@#$%^&()'`{}"}) {
    EXPECT_EQ(volumeOf(9).admit(name, 1), 0) << name;
  }
  for (const char letter : std::string(":?*<>|\"\\\x01\x1f\n")) {
    EXPECT_EQ(volumeOf(9).admit(std::string("a") + letter + "b", 1), EINVAL) << letter;
  }
  for (const std::string name : {"a\xff", "a\xc3", "a ", "a .."}) {
    EXPECT_EQ(volumeOf(9).admit(name, 1), EINVAL) << name;
  }
  for (const std::string name : {"...", ""}) {
    EXPECT_EQ(volumeOf(9).admit(name, 1), ENOENT) << name;
  }
}

TEST(FatLedgerTest, NamesHaveAtMost255Units) {
  for (const std::string& name :
       {times("a", 255), times("ü", 255), times("😀", 127), times("a", 255) + "."}) {
    EXPECT_EQ(volumeOf(9).admit(name, 1), 0) << name;
  }
  for (const std::string& name : {times("a", 256), times("😀", 128)}) {
    EXPECT_EQ(volumeOf(9).admit(name, 1), ENAMETOOLONG) << name;
  }
}

TEST(FatLedgerTest, ABadNameIsRefusedByItsLastComponent) {
  FatLedger ledger = volumeOf(9);
  ledger.haveDirectory("a:b", 2);
  EXPECT_EQ(ledger.admit("a:b/x", 1), 0);
}

TEST(FatLedgerTest, CaseCountsBeyondAsciiAlone) {
  FatLedger ledger = volumeOf(9);
  ledger.add("AZ@[Ü", 1);
  EXPECT_EQ(ledger.admit("az@[Ü", 1), EEXIST);
  for (const std::string name : {"az`[Ü", "az@{Ü", "az@[ü"}) {
    EXPECT_EQ(ledger.admit(name, 1), 0) << name;
  }
}

TEST(FatLedgerTest, ASlotTakesThirteenUnits) {
  FatLedger ledger = volumeOf(0);
  ledger.haveDirectory("", 14);
  for (const std::string& name : {std::string("a"), times("a", 13), times("a", 13) + "."}) {
    EXPECT_EQ(ledger.admit(name, 0), 0) << name;
  }
  EXPECT_EQ(ledger.admit(times("a", 14), 0), ENOSPC);
}

}  // namespace

}  // namespace fillstation
