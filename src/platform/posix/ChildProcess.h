#pragma once

#include <spawn.h>

#include <string>
#include <utility>
#include <variant>
#include <vector>

#include "FileHandle.h"

namespace fillstation {

// How a child process begins: default signal handlers, no signal blocked, standard input from
// /dev/null, and no descriptor of ours but those that are handed over. One thread; one child.
class ChildSetup {
 public:
  ChildSetup();
  ~ChildSetup();
  ChildSetup(const ChildSetup&) = delete;
  ChildSetup& operator=(const ChildSetup&) = delete;

  // Hands a descriptor over at a number, each number once, in any order, whatever
  // numbers the descriptors have here. They stay the caller's and open until the child is started.
  void hand(int descriptor, int number) { handed_.emplace_back(descriptor, number); }
  // Sends a standard stream (1 or 2) to /dev/null.
  void discard(int number);
  // Puts the child into a session of its own: a Ctrl-C in our terminal isn't meant for it.
  void startSession() { flags_ |= POSIX_SPAWN_SETSID; }

  // Starts the program, looked up on PATH unless its name holds a "/", with our environment. 0 and
  // the process id, or an errno.
  int start(const std::vector<std::string>& words, pid_t& child);

 private:
  posix_spawn_file_actions_t actions_;
  posix_spawnattr_t attributes_;
  std::vector<std::pair<int, int>> handed_;
  short flags_ = POSIX_SPAWN_SETSIGDEF | POSIX_SPAWN_SETSIGMASK;
};

// A pipe, of which no child gets an end that isn't handed over.
struct Pipe {
  FileHandle reading;
  FileHandle writing;

  // False with errno set when the system has no more of them.
  bool open();
};

// Appends what there is to be read, after a wait for it; false at the end, and on an error.
bool readSome(int descriptor, std::string& text);

// Runs one command line in the system's shell, /bin/sh -c. Any thread, several at once.
class ShellCommand {
 public:
  // A descriptor of ours, and the number at which the command gets it, 3 or more.
  using Handed = std::pair<int, int>;
  // How the shell ended, and all that was written.
  struct Result {
    int exitStatus = 0;  // 0 to 255; 0 when a signal ended the shell, 255 when the
                         // system doesn't tell
    int signal = 0;      // 0 unless a signal ended the shell
    std::string out;
    std::string err;

    bool succeeded() const { return exitStatus == 0 && signal == 0; }
  };
  // Why it couldn't be started, as a text for people.
  struct NotStarted {
    std::string reason;
  };

  // Blocks, without a time-out, until the shell has ended and everybody has closed the outputs. The
  // command gets /dev/null as standard input, default signal handlers with nothing blocked, and no
  // other descriptor of ours.
  static std::variant<Result, NotStarted> run(const std::string& commandLine,
                                              const std::vector<Handed>& handed = {}) noexcept;
};

}  // namespace fillstation
