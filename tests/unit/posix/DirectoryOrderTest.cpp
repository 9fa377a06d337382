#include "DirectoryOrder.h"

#include <fcntl.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <string>
#include <vector>

#include "TempFolder.h"

namespace fillstation {
namespace {

TEST(DirectoryOrderTest, WhatIsNotFoundPassesNothingOver) {
  const test::TempFolder volume;
  for (int file = 0; file < 300; ++file) {  // several reads of the directory
    volume.write(std::to_string(file) + " has a name of some length", "");
  }
  std::vector<std::string> names;
  for (const auto& entry : std::filesystem::directory_iterator(volume.path())) {
    names.push_back(entry.path().filename());
  }
  const FileHandle root(::open(volume.path().c_str(), O_RDONLY | O_DIRECTORY));
  DirectoryOrder order(root.get(), true);
  for (const auto& name : names) {
    EXPECT_FALSE(order.next({"missing"}, false));
    EXPECT_TRUE(order.next({name}, false)) << name;
  }
  EXPECT_FALSE(order.next({names.front()}, false)) << "it comes before";
}

}  // namespace
}  // namespace fillstation
