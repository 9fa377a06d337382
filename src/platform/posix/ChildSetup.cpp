#include "ChildSetup.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <csignal>

#include "FileHandle.h"

namespace fillstation {

ChildSetup::ChildSetup() : flags_(POSIX_SPAWN_SETSIGDEF | POSIX_SPAWN_SETSIGMASK) {
  ::posix_spawn_file_actions_init(&actions_);
  ::posix_spawnattr_init(&attributes_);
  ::posix_spawn_file_actions_addopen(&actions_, 0, "/dev/null", O_RDONLY, 0);
  sigset_t signals;
  ::sigfillset(&signals);
  ::posix_spawnattr_setsigdefault(&attributes_, &signals);
  ::sigemptyset(&signals);
  ::posix_spawnattr_setsigmask(&attributes_, &signals);
}

ChildSetup::~ChildSetup() {
  ::posix_spawn_file_actions_destroy(&actions_);
  ::posix_spawnattr_destroy(&attributes_);
}

void ChildSetup::hand(int descriptor, int number) { handed_.emplace_back(descriptor, number); }

void ChildSetup::discard(int number) {
  ::posix_spawn_file_actions_addopen(&actions_, number, "/dev/null", O_WRONLY, 0);
}

void ChildSetup::startSession() { flags_ |= POSIX_SPAWN_SETSID; }

int ChildSetup::start(const std::vector<std::string>& words, pid_t& child) {
  // First all out of the way, so that no number given out is still wanted as a source.
  int firstFree = 3;
  for (const auto& [descriptor, number] : handed_) {
    firstFree = std::max(firstFree, number + 1);
  }
  std::vector<FileHandle> lifted;
  for (int number = 3; number < firstFree; ++number) {
    ::posix_spawn_file_actions_addclose(&actions_, number);
  }
  for (const auto& [descriptor, number] : handed_) {
    lifted.emplace_back(::fcntl(descriptor, F_DUPFD_CLOEXEC, firstFree));
    if (!lifted.back()) {
      return errno;
    }
    ::posix_spawn_file_actions_adddup2(&actions_, lifted.back().get(), number);
  }
  ::posix_spawn_file_actions_addclosefrom_np(&actions_, firstFree);
  ::posix_spawnattr_setflags(&attributes_, flags_);
  std::vector<char*> arguments;
  for (const auto& word : words) {
    arguments.push_back(const_cast<char*>(word.c_str()));
  }
  arguments.push_back(nullptr);
  return ::posix_spawnp(&child, arguments[0], &actions_, &attributes_, arguments.data(), environ);
}

}  // namespace fillstation
