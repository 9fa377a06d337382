#include "TRFile.h"

#include <gtest/gtest.h>

#include "TestFileManager.h"
#include "TestPlatform.h"

namespace fillstation::test {
namespace {

TEST(TRFile, NewNodeIsEmpty) {
  const TRFile file;
  EXPECT_EQ(file.name(), "Empty");
  EXPECT_EQ(file.path(), "Empty");
  EXPECT_EQ(file.url(), std::nullopt);
  EXPECT_EQ(file.getUrl(), std::nullopt);
  EXPECT_FALSE(file.size());
  EXPECT_FALSE(file.isDir());
  EXPECT_EQ(file.files(), nullptr);
  EXPECT_EQ(file.destRelativeUrl(), std::nullopt);
}

}  // namespace
}  // namespace fillstation::test
