#include "ChildSetup.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/wait.h>

#include <cerrno>
#include <string>

#include "FileHandle.h"
#include "TempFolder.h"

namespace fillstation {
namespace {

// Runs the setup's child to its end.
void runShell(ChildSetup& setup, const std::string& commandLine) {
  pid_t child = 0;
  ASSERT_EQ(setup.start({"sh", "-c", commandLine}, child), 0);
  ASSERT_EQ(::waitpid(child, nullptr, 0), child);
}

TEST(ChildSetup, SendsDiscardedStreamsToNowhere) {
  const test::TempFolder folder;
  ChildSetup setup;
  setup.discard(2);
  setup.discard(1);
  runShell(setup,
           "streams=$(readlink /proc/$$/fd/0 /proc/$$/fd/1 /proc/$$/fd/2); echo \"$streams\" >'" +
               folder.path("fds") + "'");
  EXPECT_EQ(test::contentOf(folder.path("fds")), "/dev/null\n/dev/null\n/dev/null\n");
}

TEST(ChildSetup, HandsOverAStandardInput) {
  const test::TempFolder folder;
  const FileHandle file(::open(folder.write("input", "text").c_str(), O_RDONLY | O_CLOEXEC));
  ChildSetup setup;
  setup.hand(file.get(), 0);
  runShell(setup, "cat >'" + folder.path("output") + "'");
  EXPECT_EQ(test::contentOf(folder.path("output")), "text");
}

TEST(ChildSetup, ADiscardedStreamCanBeWritten) {
  const test::TempFolder folder;
  ChildSetup setup;
  setup.discard(1);
  runShell(setup, "echo gone && touch '" + folder.path("written") + "'");
  EXPECT_TRUE(std::filesystem::exists(folder.path("written")));
}

TEST(ChildSetup, StartsASessionOnlyWhenToldTo) {
  const test::TempFolder folder;
  const std::string tell =
      "read -r a b c d e session rest </proc/$$/stat; test $session = $$ && "
      "touch '";
  ChildSetup same;
  runShell(same, tell + folder.path("same") + "'");
  EXPECT_FALSE(std::filesystem::exists(folder.path("same")));
  ChildSetup own;
  own.startSession();
  runShell(own, tell + folder.path("own") + "'");
  EXPECT_TRUE(std::filesystem::exists(folder.path("own")));
}

TEST(ChildSetup, SaysWhyAProgramCannotBeStarted) {
  ChildSetup setup;
  pid_t child = 0;
  EXPECT_EQ(setup.start({"fillstation-no-such-program"}, child), ENOENT);
}

}  // namespace
}  // namespace fillstation
