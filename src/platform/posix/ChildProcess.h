#pragma once

#include <spawn.h>

#include <string>
#include <utility>
#include <vector>

#include "FileHandle.h"

namespace fillstation {

// How a child process begins: default signal handlers, no blocked signals, standard input from
// /dev/null, and only the descriptors that are passed on. One thread; one child.
class ChildSetup {
 public:
  ChildSetup();
  ~ChildSetup();
  ChildSetup(const ChildSetup&) = delete;
  ChildSetup& operator=(const ChildSetup&) = delete;

  // Passes a descriptor on with this number, each number once, in any order and with any numbers of
  // ours. The descriptors stay the caller's, and must be open until the child is started.
  void hand(int descriptor, int number) { handed_.emplace_back(descriptor, number); }
  // Sends a standard stream (1 or 2) to /dev/null.
  void discard(int number);
  // Puts the child into a new session: Ctrl-C in our terminal must not reach it.
  void startSession() { flags_ |= POSIX_SPAWN_SETSID; }

  // Starts the program, looked up on PATH unless its name contains a "/", with our environment.
  // Returns 0 and the process id, or an errno.
  int start(const std::vector<std::string>& words, pid_t& child);

 private:
  posix_spawn_file_actions_t actions_;
  posix_spawnattr_t attributes_;
  std::vector<std::pair<int, int>> handed_;
  short flags_ = POSIX_SPAWN_SETSIGDEF | POSIX_SPAWN_SETSIGMASK;
};

// A pipe. Children get only ends that are passed on.
struct Pipe {
  FileHandle reading;
  FileHandle writing;

  // False with errno set if the system has none left.
  bool open();
};

// Waits for data and appends it; false at the end, and after an error.
bool readSome(int descriptor, std::string& text);

// How a command line ended, and its output.
struct ShellResult {
  int exitStatus = 0;  // 0 to 255; 128 and the signal's number when one ended the shell, 255 when
                       // it couldn't be started or its result is not known
  std::string out;
  std::string err;
};

// Runs one command line in the system's shell, /bin/sh -c, as a child that gets these descriptors,
// with numbers from 3 on. Blocks, without a time-out, until the shell has ended. If it couldn't be
// started, `err` has the reason. Any thread, several at once.
ShellResult runShell(const std::string& commandLine,
                     const std::vector<std::pair<int, int>>& handed = {});

}  // namespace fillstation
