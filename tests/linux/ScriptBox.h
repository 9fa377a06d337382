#pragma once

#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "AgentShell.h"
#include "FileHandle.h"

namespace fillstation::test {

// Of boss, another one in every box: what is found with it there was left by the program under test
// and by no other program of this machine. Empty outside.
const std::string& bossPassword();

// One call that a window makes.
struct Call {
  std::string user;
  std::string password;
  std::string command;
};

// A process in the place of the window, started as that user; it makes all its calls at once.
class Window {
 public:
  Window(const std::string& user, const std::vector<Call>& calls);
  ~Window();

  // Of the calls, in order; waits for all of them.
  std::vector<AgentReply> replies();
  // Tells it that the program is ending.
  void stop();
  // Ends the process as an accident would.
  void kill();

 private:
  FileHandle socket_;
  pid_t child_ = 0;
  std::size_t calls_;
};

// The one reply to one call of tester's.
AgentReply runAs(const std::string& user, const Call& call);

// A block device made of a file, in a box whose /run/box/loop-control leads to the kernel's. Gone
// when nobody has it open any more. A plain value.
struct LoopDevice {
  // Makes it of an open file. Number 0 and no device when that can't be.
  static LoopDevice of(int file);

  // Its node in the box, and its number as "7:3".
  std::string node() const;
  std::string deviceNumber() const;

  FileHandle device;
  int number = 0;
};

// A test that needs the box; without it (no root, no tools) it says so and is skipped.
class ScriptBoxTest : public testing::Test {
 public:
  // What a file holds; nothing when it can't be read.
  static std::string read(const std::string& path);

 protected:
  void SetUp() override;

  // Runs it in the system's shell as root and expects success.
  static void shell(const std::string& command);
  static void writeFile(const std::string& path, const std::string& text);
  // A script of the shell; and one in a tool's place, which then is /run/box/real-NAME.
  static void writeScript(const std::string& path, const std::string& lines);
  static void replaceTool(const std::string& tool, const std::string& lines);
  static bool exists(const std::string& path);
  // Waits until it holds, and fails when it doesn't within a minute.
  static void await(const std::function<bool()>& condition, const std::string& what);
  static void awaitFile(const std::string& path);
  // The processes whose command lines begin so.
  static std::vector<pid_t> processes(const std::string& beginning);
  // How many processes of the box have that word on their command lines.
  static int processesWith(const std::string& word);
  // Waits until none has one of the words there.
  static void awaitEnd(const std::vector<std::string>& words);
  // A call with the right credentials; its command shows that it ran.
  static Call bossCall(const std::string& command = "touch /run/box/ran") {
    return {"boss", bossPassword(), command};
  }
  // A window with that one call, once the step that was slowed is under way.
  static std::unique_ptr<Window> startCall(const Call& call = bossCall(),
                                           const std::string& user = "tester");
  static void expectNothingRan() { EXPECT_FALSE(exists("/run/box/ran")); }
  // What polkit's helper asks of PAM, instead of the password alone.
  static void setPam(const std::string& lines);
  // Has the check of a password, or another step of PAM, tell in /run/box/asked that it was asked,
  // and wait for /run/box/go.
  static void slowPam(const std::string& step = "auth");
};

// Why there is no box, empty when there is one.
std::string& boxRefusal();

// Runs this very program again for each case that it was asked for, each in a box of its own, and
// returns the exit status of all. None in a box, when cases are only listed, and when there can't
// be a box here, for which boxRefusal() then has the reason: go on with the cases. After
// testing::InitGoogleTest(); argv as it was before. `obstacle` is a reason of the program's own,
// empty for none.
std::optional<int> runInBoxes(int argc, char** argv, const std::string& obstacle = {});

}  // namespace fillstation::test
