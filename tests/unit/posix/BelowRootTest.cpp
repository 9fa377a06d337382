#include "BelowRoot.h"

#include <fcntl.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <string>
#include <vector>

#include "TempFolder.h"
#include "Unprivileged.h"

namespace fillstation {
namespace {

FileHandle opened(const std::string& path) {
  return FileHandle(::open(path.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
}

int flagsOf(const FileHandle& file) { return ::fcntl(file.get(), F_GETFL); }

TEST(MediumFile, IsReadPastTheCacheAndItsTimeOfReadingStays) {
  const test::TempFolder folder;
  folder.write("a/b/file", "x");
  ::chmod(folder.path().c_str(), 0755);
  const FileHandle root = opened(folder.path());
  {
    const test::Unprivileged others;
    EXPECT_TRUE(openMediumFileBelow(root.get(), {"a", "b", "file"})) << "though it is not ours";
  }
  const FileHandle file = openMediumFileBelow(root.get(), {"a", "b", "file"});
  ASSERT_TRUE(file);
  EXPECT_EQ(flagsOf(file) & (O_ACCMODE | O_NOATIME), O_RDONLY | O_NOATIME);
  const FileHandle proc = opened("/proc");  // which has no way past a cache
  const FileHandle version = openMediumFileBelow(proc.get(), {"version"});
  ASSERT_TRUE(version);
  EXPECT_EQ(flagsOf(version) & (O_ACCMODE | O_DIRECT), O_RDONLY);
}

TEST(MediumFile, IsNoLinkAndHasAName) {
  const test::TempFolder folder;
  folder.write("a/file", "x");
  std::filesystem::create_symlink("file", folder.path("a/link"));
  std::filesystem::create_symlink("a", folder.path("folder"));
  const FileHandle root = opened(folder.path());
  for (const auto& path :
       std::vector<Components>{{"a", "link"}, {"folder", "file"}, {"none", "file"}, {"none"}, {}}) {
    EXPECT_FALSE(openMediumFileBelow(root.get(), path));
  }
}

// Three files in the order that this machine's file system has for them.
class DirectoryOrderTest : public testing::Test {
 protected:
  DirectoryOrderTest() {
    for (const char* name : {"a", "b", "c"}) {
      folder_.write(name, name);
      folder_.write(std::string("in/") + name, name);
    }
    for (const auto& entry : std::filesystem::directory_iterator(folder_.path("in"))) {
      names_.push_back(entry.path().filename());
    }
  }

  test::TempFolder folder_;
  std::vector<std::string> names_;
  FileHandle root_ = opened(folder_.path());
};

TEST_F(DirectoryOrderTest, AnEntryThatComesTooLateMovesNothing) {
  DirectoryOrder order(root_.get(), true);
  EXPECT_TRUE(order.next({"in", names_[1]}, false));
  EXPECT_FALSE(order.next({"in", names_[0]}, false));
  EXPECT_FALSE(order.next({"in", names_[1]}, false));
  EXPECT_TRUE(order.next({"in", names_[2]}, false));
}

TEST_F(DirectoryOrderTest, NamesOfOneFileAreTwoEntries) {
  std::filesystem::remove(folder_.path("in/" + names_[2]));
  std::filesystem::create_hard_link(folder_.path("in/" + names_[0]),
                                    folder_.path("in/" + names_[2]));
  std::filesystem::remove(folder_.path("in/" + names_[1]));
  names_.clear();
  for (const auto& entry : std::filesystem::directory_iterator(folder_.path("in"))) {
    names_.push_back(entry.path().filename());
  }
  DirectoryOrder order(root_.get(), true);
  EXPECT_TRUE(order.next({"in", names_[1]}, false));
  EXPECT_FALSE(order.next({"in", names_[0]}, false));
}

TEST_F(DirectoryOrderTest, AFolderMayComeAgainRightBehindItsContent) {
  DirectoryOrder order(root_.get(), true);
  for (const std::string& name : names_) {
    EXPECT_TRUE(order.next({"in"}, true));
    EXPECT_TRUE(order.next({"in", name}, false));
  }
}

TEST_F(DirectoryOrderTest, HasNothingBelowWhatIsMissingAndKeepsNothingOpen) {
  const auto count = [] {
    return std::distance(std::filesystem::directory_iterator("/proc/self/fd"), {});
  };
  const auto before = count();
  for (const bool keepsOrder : {true, false}) {
    DirectoryOrder order(root_.get(), keepsOrder);
    EXPECT_FALSE(order.next({}, true));
    EXPECT_FALSE(order.next({"none", "a"}, false));
    EXPECT_FALSE(order.next({"in", "none", "a"}, false));
    EXPECT_TRUE(order.next({"in", "a"}, false));
    EXPECT_FALSE(DirectoryOrder(-1, keepsOrder).next({"a"}, false));
  }
  EXPECT_EQ(count(), before);
}

}  // namespace
}  // namespace fillstation
