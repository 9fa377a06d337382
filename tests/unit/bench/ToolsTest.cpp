#include "Tools.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>

namespace fillstation {

namespace {

TEST(ToolsTest, WordsReachTheToolUnchanged) {
  EXPECT_EQ(shellQuoted("a b"), "'a b'");
  EXPECT_EQ(shellQuoted("it's"), "'it'\\''s'");
  EXPECT_EQ(runTool({"test", "$HOME `a` \"'\\\n", "=", "$HOME `a` \"'\\\n"}, 0), std::nullopt);
}

TEST(ToolsTest, AToolThatFailsSaysSo) {
  const auto said = runTool({"ls", "/nowhere at all"}, 0);
  ASSERT_TRUE(said);
  EXPECT_TRUE(said->starts_with("ls: ")) << *said;
  EXPECT_NE(said->find("/nowhere at all"), std::string::npos);
  EXPECT_TRUE(runTool({"no-such-tool-anywhere"}, 0));
}

TEST(ToolsTest, AToolGetsTheImageAndNothingOfOurEnvironment) {
  ::setenv("FILLSTATION_TEST", "1", 1);
  std::FILE* image = std::tmpfile();
  EXPECT_EQ(runTool({"sh", "-c",
                     "test -z \"$FILLSTATION_TEST\" && test \"$LC_ALL\" = C.UTF-8 && "
                     "test \"$MTOOLSRC\" = /dev/null && command -v mkfs.fat && "
                     "test /dev/null -ef /proc/self/fd/0 && echo x > /proc/self/fd/3"},
                    ::fileno(image)),
            std::nullopt);
  EXPECT_EQ(std::fgetc(image), 'x');
  std::fclose(image);
}

}  // namespace

}  // namespace fillstation
