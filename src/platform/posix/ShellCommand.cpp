#include "ShellCommand.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstddef>
#include <system_error>
#include <utility>

#include "ChildSetup.h"
#include "FileHandle.h"

namespace fillstation {

namespace {

struct Pipe {
  FileHandle reading;
  FileHandle writing;

  // False with errno set when the system has no more of them.
  bool open() {
    std::array<int, 2> ends{};
    if (::pipe2(ends.data(), O_CLOEXEC) != 0) {
      return false;
    }
    reading = FileHandle(ends[0]);
    writing = FileHandle(ends[1]);
    return true;
  }
};

// Appends what is there; forgets the descriptor at the end of the output.
void readSome(pollfd& source, std::string& text) {
  std::array<char, 65536> buffer;
  const ssize_t count = ::read(source.fd, buffer.data(), buffer.size());
  if (count > 0) {
    text.append(buffer.data(), static_cast<std::size_t>(count));
  } else {
    source.fd = -1;
  }
}

// Both outputs at once, so that neither fills up while the other is waited for.
void readBoth(int out, int err, ShellCommand::Result& result) {
  std::array<pollfd, 2> sources{pollfd{out, POLLIN, 0}, pollfd{err, POLLIN, 0}};
  while (sources[0].fd >= 0 || sources[1].fd >= 0) {
    if (::poll(sources.data(), sources.size(), -1) < 0) {
      continue;  // a signal came
    }
    if (sources[0].revents != 0) {
      readSome(sources[0], result.out);
    }
    if (sources[1].revents != 0) {
      readSome(sources[1], result.err);
    }
  }
}

void waitFor(pid_t child, ShellCommand::Result& result) {
  // What stays when the system doesn't tell, as it does when our parent had us ignore SIGCHLD: a
  // command that nobody knows of has not succeeded.
  int status = W_EXITCODE(255, 0);
  while (::waitpid(child, &status, 0) < 0 && errno == EINTR) {
  }
  if (WIFSIGNALED(status)) {
    result.signal = WTERMSIG(status);
  } else {
    result.exitStatus = WEXITSTATUS(status);
  }
}

ShellCommand::NotStarted because(int error) { return {std::generic_category().message(error)}; }

}  // namespace

std::variant<ShellCommand::Result, ShellCommand::NotStarted> ShellCommand::run(
    const std::string& commandLine, const std::vector<Handed>& handed) noexcept {
  if (commandLine.find('\0') != std::string::npos) {
    return because(EINVAL);  // the shell would see its beginning only
  }
  Pipe out;
  Pipe err;
  if (!out.open() || !err.open()) {
    return because(errno);
  }
  ChildSetup setup;
  setup.hand(out.writing.get(), 1);
  setup.hand(err.writing.get(), 2);
  for (const auto& [descriptor, number] : handed) {
    setup.hand(descriptor, number);
  }
  pid_t child = 0;
  if (const int error = setup.start({"/bin/sh", "-c", commandLine}, child); error != 0) {
    return because(error);
  }
  out.writing = FileHandle();
  err.writing = FileHandle();
  Result result;
  readBoth(out.reading.get(), err.reading.get(), result);
  waitFor(child, result);
  return result;
}

}  // namespace fillstation
