#include "OpenFiles.h"

#include <gtest/gtest.h>
#include <sys/resource.h>

namespace fillstation {
namespace {

TEST(OpenFiles, AsManyAsTheSystemAllows) {
  rlimit before{};
  ASSERT_EQ(::getrlimit(RLIMIT_NOFILE, &before), 0);
  const rlimit few{before.rlim_max / 2, before.rlim_max};
  ASSERT_EQ(::setrlimit(RLIMIT_NOFILE, &few), 0);
  allowManyOpenFiles();
  rlimit after{};
  ASSERT_EQ(::getrlimit(RLIMIT_NOFILE, &after), 0);
  EXPECT_EQ(after.rlim_cur, before.rlim_max);
  EXPECT_EQ(after.rlim_max, before.rlim_max);
  ::setrlimit(RLIMIT_NOFILE, &before);
}

}  // namespace
}  // namespace fillstation
