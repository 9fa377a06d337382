#include "AgentPath.h"

#include <gtest/gtest.h>

#include <filesystem>

#include "TempFolder.h"

namespace fillstation::test {

class AgentPathTest : public ::testing::Test {
 protected:
  void makeProgram(const std::string& below, bool mayRun = true) const {
    const auto file = folder.write(below, "");
    const auto rights = mayRun ? std::filesystem::perms::owner_all : std::filesystem::perms::none;
    std::filesystem::permissions(file, rights);
  }

  TempFolder folder;
};

TEST_F(AgentPathTest, InABuildItLiesBesideTheProgram) {
  makeProgram("bin/fillstation-agent");
  EXPECT_EQ(agentOf(folder.path("bin/fillstation")), folder.path("bin/fillstation-agent"));
}

TEST_F(AgentPathTest, InstalledItHasAFolderOfItsOwn) {
  EXPECT_EQ(agentOf(folder.path("bin/fillstation")),
            folder.path("libexec/fillstation/fillstation-agent"));
}

TEST_F(AgentPathTest, WhatCantBeRunIsNoAgent) {
  folder.makeFolder("bin");
  makeProgram("bin/fillstation-agent", false);
  EXPECT_EQ(agentOf(folder.path("bin/fillstation")),
            folder.path("libexec/fillstation/fillstation-agent"));
}

TEST_F(AgentPathTest, TheRunningProgramIsThisTest) {
  EXPECT_EQ(std::filesystem::path(thisProgram()).filename(), "linux_device_tests");
}

}  // namespace fillstation::test
