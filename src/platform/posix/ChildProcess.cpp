#include "ChildProcess.h"

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <csignal>
#include <cstddef>
#include <system_error>

namespace fillstation {

ChildSetup::ChildSetup() {
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

void ChildSetup::discard(int number) {
  ::posix_spawn_file_actions_addopen(&actions_, number, "/dev/null", O_WRONLY, 0);
}

int ChildSetup::start(const std::vector<std::string>& words, pid_t& child) {
  // First moves all descriptors away, so that no target number is still a source.
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

bool Pipe::open() {
  std::array<int, 2> ends{};
  if (::pipe2(ends.data(), O_CLOEXEC) != 0) {
    return false;
  }
  reading = FileHandle(ends[0]);
  writing = FileHandle(ends[1]);
  return true;
}

bool readSome(int descriptor, std::string& text) {
  std::array<char, 65536> buffer;
  const ssize_t count = ::read(descriptor, buffer.data(), buffer.size());
  if (count > 0) {
    text.append(buffer.data(), static_cast<std::size_t>(count));
  }
  return count > 0;
}

namespace {

std::string contentOf(const FileHandle& file) {
  std::string bytes(static_cast<std::size_t>(::lseek(file.get(), 0, SEEK_END)), '\0');
  const ssize_t count = ::pread(file.get(), bytes.data(), bytes.size(), 0);
  return count == static_cast<ssize_t>(bytes.size()) ? bytes : std::string();
}

}  // namespace

ShellResult runShell(const std::string& commandLine,
                     const std::vector<std::pair<int, int>>& handed) {
  // In memory, so that neither output blocks while the other is read.
  const FileHandle out(::memfd_create("out", MFD_CLOEXEC));
  const FileHandle err(::memfd_create("err", MFD_CLOEXEC));
  ChildSetup setup;
  setup.hand(out.get(), 1);
  setup.hand(err.get(), 2);
  for (const auto& [descriptor, number] : handed) {
    setup.hand(descriptor, number);
  }
  pid_t child = 0;
  if (const int error = setup.start({"/bin/sh", "-c", commandLine}, child); error != 0) {
    return {255, "", std::generic_category().message(error)};
  }
  // The result if the system doesn't report it, as when our parent made us ignore SIGCHLD: an
  // unknown result is not a success.
  int status = W_EXITCODE(255, 0);
  while (::waitpid(child, &status, 0) < 0 && errno == EINTR) {
  }
  return {WIFSIGNALED(status) ? 128 + WTERMSIG(status) : WEXITSTATUS(status), contentOf(out),
          contentOf(err)};
}

}  // namespace fillstation
