#pragma once

#include <gtest/gtest.h>

#include <cstdlib>
#include <string>

#include "TempFolder.h"

namespace fillstation::test {

// A test with the agent that behaves as the user name says, and records its input.
class FakeAgentTest : public testing::Test {
 protected:
  FakeAgentTest() {
    folder_.makeFolder("crowd");
    folder_.makeFolder("serving");
    ::setenv("FAKE_AGENT_FOLDER", folder_.path().c_str(), 1);
  }

  // The records of the agents.
  std::string noted() const { return contentOf(folder_.path("log")); }
  // Lets an agent end that lingers.
  void go() const { folder_.write("go", ""); }

 private:
  TempFolder folder_;
};

}  // namespace fillstation::test
