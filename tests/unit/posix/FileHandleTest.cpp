#include "FileHandle.h"

#include <fcntl.h>
#include <gtest/gtest.h>

#include <utility>

namespace fillstation {
namespace {

bool isOpen(int descriptor) { return ::fcntl(descriptor, F_GETFD) >= 0; }
int newDescriptor() { return ::open("/dev/null", O_RDONLY | O_CLOEXEC); }

TEST(FileHandle, ClosesWhatItOwns) {
  const int descriptor = newDescriptor();
  {
    const FileHandle handle(descriptor);
    EXPECT_TRUE(handle);
    EXPECT_EQ(handle.get(), descriptor);
    EXPECT_TRUE(isOpen(descriptor));
  }
  EXPECT_FALSE(isOpen(descriptor));
}

TEST(FileHandle, OwnsNothingAtFirst) {
  const FileHandle handle;
  EXPECT_FALSE(handle);
  EXPECT_EQ(handle.get(), -1);
}

TEST(FileHandle, DescriptorZeroIsOne) {
  const int saved = ::dup(0);
  {
    const FileHandle handle(0);
    EXPECT_TRUE(handle);
  }
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
  EXPECT_TRUE(isOpen(descriptor));
  FileHandle third(descriptor);
  third = FileHandle();
  EXPECT_FALSE(third);
  EXPECT_FALSE(isOpen(descriptor));
}

}  // namespace
}  // namespace fillstation
