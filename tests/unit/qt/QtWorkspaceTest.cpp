#include "QtWorkspace.h"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/wait.h>

#include <cerrno>
#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <string>
#include <thread>

#include "TempFolder.h"

namespace fillstation {
namespace {

// Puts a stand-in for the desktop's helper first on PATH.
class QtWorkspaceTest : public testing::Test {
 protected:
  QtWorkspaceTest() : path_(std::getenv("PATH")) {
    ::setenv("PATH", (folder_.path() + ":" + path_).c_str(), 1);
  }
  ~QtWorkspaceTest() override {
    ::setenv("PATH", path_.c_str(), 1);
    awaitNoChild();
  }

  // Returns when the workspace has taken every child's end.
  static void awaitNoChild() {
    siginfo_t info{};
    while (::waitid(P_ALL, 0, &info, WEXITED | WNOHANG | WNOWAIT) == 0) {
      std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    EXPECT_EQ(errno, ECHILD);
  }

  void standIn(const std::string& script) {
    const std::string program = folder_.write("xdg-open", "#!/bin/sh\n" + script);
    ::chmod(program.c_str(), 0700);
  }
  // What the stand-in wrote and then renamed into place.
  std::string answer() const {
    while (!std::filesystem::exists(folder_.path("answer"))) {
      std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    return test::contentOf(folder_.path("answer"));
  }
  std::string giveAnswer() const {
    return " >'" + folder_.path("new") + "'; mv '" + folder_.path("new") + "' '" +
           folder_.path("answer") + "'\n";
  }

  test::TempFolder folder_;
  std::string path_;
  QtWorkspace workspace_;
};

TEST_F(QtWorkspaceTest, HandsTheAddressOverAsItIs) {
  standIn("printf '%s|' \"$#\" \"$@\"" + giveAnswer());
  workspace_.openUrl("https://example.com/a b?c=$d&e;f'\"*");
  EXPECT_EQ(answer(), "1|https://example.com/a b?c=$d&e;f'\"*|");
}

TEST_F(QtWorkspaceTest, DoesNotWaitAndLeavesNoZombie) {
  ASSERT_EQ(::mkfifo(folder_.path("gate").c_str(), 0600), 0);
  standIn("read -r word <'" + folder_.path("gate") + "'; echo \"$word\"" + giveAnswer());
  workspace_.openUrl("https://example.com/");
  EXPECT_FALSE(std::filesystem::exists(folder_.path("answer")));
  EXPECT_EQ(::waitpid(-1, nullptr, WNOHANG), 0) << "still running";
  folder_.write("gate", "opened\n");
  EXPECT_EQ(answer(), "opened\n");
  awaitNoChild();
}

TEST_F(QtWorkspaceTest, TheHelperSaysNothingOnOurStreamsAndHasItsOwnSession) {
  standIn(
      "(readlink /proc/$$/fd/0 /proc/$$/fd/1 /proc/$$/fd/2; read -r a b c d e s rest "
      "</proc/$$/stat; test $s = $$ && echo session)" +
      giveAnswer());
  workspace_.openUrl("https://example.com/");
  EXPECT_EQ(answer(), "/dev/null\n/dev/null\n/dev/null\nsession\n");
}

TEST_F(QtWorkspaceTest, WithoutAHelperNothingHappens) {
  ::setenv("PATH", folder_.path().c_str(), 1);
  workspace_.openUrl("https://example.com/");
  EXPECT_EQ(::waitpid(-1, nullptr, WNOHANG), -1);
  EXPECT_EQ(errno, ECHILD);
}

}  // namespace
}  // namespace fillstation
