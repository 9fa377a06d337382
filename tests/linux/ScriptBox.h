#pragma once

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "AgentShell.h"
#include "FileHandle.h"
#include "Person.h"
#include "TempFolder.h"

namespace fillstation::test {

// The password of boss, different in every box: where it is found, the program under test has left
// it, and no other program of this machine. Empty outside a box.
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
  ~Window() {
    stop();
    process_.ended();
  }

  // Of the calls, in order; waits for all of them.
  std::vector<AgentReply> replies();
  // Reports that the program is ending.
  void stop() { process_.fallSilent(); }
  // Ends the process as an accident would.
  void kill() { ::kill(process_.process(), SIGKILL); }

 private:
  Person process_;
  std::size_t calls_;
};

// The one reply to one call of tester's.
AgentReply runAs(const std::string& user, const Call& call);

// A block device made of a file, in a box whose /run/box/loop-control is the kernel's. It vanishes
// when it is closed. A plain value.
struct LoopDevice {
  // Makes it of an open file. Number 0 and no device when that can't be.
  static LoopDevice of(int file);

  // Its node in the box, and its number as "7:3".
  std::string node() const { return "/run/box/loop" + std::to_string(number); }
  std::string deviceNumber() const { return "7:" + std::to_string(number); }

  FileHandle device;
  int number = 0;
};

// Why there is no box, empty when there is one.
std::string& boxRefusal();

// A test that needs the box; without it (no root, no tools) it is skipped with the reason.
class ScriptBoxTest : public testing::Test {
 public:
  // The contents of a file; empty if it can't be read.
  static std::string read(const std::string& path) { return contentOf(path); }

 protected:
  void SetUp() override {
    if (!boxRefusal().empty()) {
      GTEST_SKIP() << boxRefusal();
    }
  }

  // Runs it in the system's shell as root and expects success.
  static void shell(const std::string& command) {
    EXPECT_EQ(std::system(command.c_str()), 0) << command;
  }
  static void writeFile(const std::string& path, const std::string& text) {
    EXPECT_TRUE(std::ofstream(path) << text << std::flush) << path;
  }
  // A script of the shell; and one in a tool's place, which then is /run/box/real-NAME.
  static void writeScript(const std::string& path, const std::string& lines) {
    writeFile(path, "#!/bin/sh\n" + lines + "\n");
    shell("chmod 755 " + path);
  }
  static void replaceTool(const std::string& tool, const std::string& lines) {
    const std::string name = tool.substr(tool.rfind('/') + 1);
    shell("[ -e /run/box/real-" + name + " ] || cp -p " + tool + " /run/box/real-" + name);
    writeScript("/run/box/" + name, lines);
    shell("mount --bind /run/box/" + name + " " + tool);
  }
  static bool exists(const std::string& path) { return std::filesystem::exists(path); }
  // Waits until it holds, and fails when it doesn't within a minute.
  static void await(const std::function<bool()>& condition, const std::string& what) {
    ASSERT_TRUE(awaitThat(condition)) << "never happened: " << what;
  }
  static void awaitFile(const std::string& path) {
    await([&] { return exists(path); }, path);
  }
  // The processes whose command lines begin with the text, or contain it.
  static std::vector<pid_t> processes(const std::string& words, bool anywhere = false) {
    std::vector<pid_t> found;
    for (const auto& entry : std::filesystem::directory_iterator("/proc")) {
      const std::string name = entry.path().filename();
      const std::size_t place = read(entry.path() / "cmdline").find(words);
      if (name.find_first_not_of("0123456789") == std::string::npos &&
          (place == 0 || (anywhere && place != std::string::npos))) {
        found.push_back(std::stoi(name));
      }
    }
    return found;
  }
  // Waits until none has one of the words there.
  static void awaitEnd(const std::vector<std::string>& words) {
    for (const auto& word : words) {
      await([&] { return processes(word, true).empty(); }, word + " ends");
    }
  }
  // A call with the right credentials; its command shows that it ran.
  static Call bossCall(const std::string& command = "touch /run/box/ran") {
    return {"boss", bossPassword(), command};
  }
  // A window with that one call, once the step that was slowed is under way.
  static std::unique_ptr<Window> startCall(const Call& call = bossCall(),
                                           const std::string& user = "tester") {
    auto window = std::make_unique<Window>(user, std::vector<Call>{call});
    awaitFile("/run/box/asked");
    return window;
  }
  static void expectNothingRan() { EXPECT_FALSE(exists("/run/box/ran")); }
  // The PAM configuration of polkit's helper, in place of the password alone.
  static void setPam(const std::string& lines) {
    writeFile("/etc/pam.d/polkit-1", lines + "\naccount required pam_unix.so\n");
  }
  // Makes the password check, or another PAM step, create /run/box/asked and wait for /run/box/go.
  static void slowPam(const std::string& step = "auth") {
    writeScript("/run/box/slow",
                "touch /run/box/asked; until [ -e /run/box/go ]; do sleep 0.02; done");
    setPam("auth requisite pam_unix.so\n" + step +
           " required pam_exec.so quiet seteuid /run/box/slow");
  }
};

// Runs this program again for each selected case, each in a separate box, and returns the exit
// status of all. Returns none inside a box, when cases are only listed, and when there can be no
// box here (boxRefusal() then has the reason): continue with the cases. Call it after
// testing::InitGoogleTest(); argv as it was before. `obstacle` is another reason against a box,
// empty for none.
std::optional<int> runInBoxes(int argc, char** argv, const std::string& obstacle = {});

}  // namespace fillstation::test
