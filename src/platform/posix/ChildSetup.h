#pragma once

#include <spawn.h>

#include <string>
#include <utility>
#include <vector>

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
  void hand(int descriptor, int number);
  // Sends a standard stream (1 or 2) to /dev/null.
  void discard(int number);
  // Puts the child into a session of its own: a Ctrl-C in our terminal isn't meant for it.
  void startSession();

  // Starts the program, looked up on PATH unless its name holds a "/", with our environment. 0 and
  // the process id, or an errno.
  int start(const std::vector<std::string>& words, pid_t& child);

 private:
  posix_spawn_file_actions_t actions_;
  posix_spawnattr_t attributes_;
  std::vector<std::pair<int, int>> handed_;
  short flags_;
};

}  // namespace fillstation
