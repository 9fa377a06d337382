#pragma once

#include <spawn.h>

#include <string>
#include <utility>
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

// How a command line ended, and all that it wrote.
struct ShellResult {
  int exitStatus = 0;  // 0 to 255; 128 and the signal's number when one ended the shell, 255 when
                       // it couldn't be started or the system doesn't tell
  std::string out;
  std::string err;
};

// Runs one command line in the system's shell, /bin/sh -c, as a child that gets these descriptors
// of ours, each at a number from 3 on. Blocks, without a time-out, until the shell has ended. Why
// it couldn't be started stands in `err`. Any thread, several at once.
ShellResult runShell(const std::string& commandLine,
                     const std::vector<std::pair<int, int>>& handed = {});

}  // namespace fillstation
