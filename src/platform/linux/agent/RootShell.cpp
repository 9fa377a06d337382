#include "RootShell.h"

#include <fcntl.h>
#include <glib-unix.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstddef>

#include "ChildSetup.h"

namespace fillstation::agent {

namespace {

constexpr std::string_view kMark = "fillstation: ready\n";
constexpr std::string_view kEndMark = "\n# fillstation: complete";

// A shell can't undo an ignored signal, and pkexec leaves SIGPIPE ignored.
constexpr const char* kOuterScript = "exec env --default-signal=PIPE /bin/sh -c \"$0\"";
constexpr const char* kInnerScript =
    "echo 'fillstation: ready'\n"
    "script=$(cat)\n"
    "case $script in\n"
    "*'# fillstation: complete') eval \"$script\" </dev/null ;;\n"
    "*) exit 125 ;;\n"
    "esac\n";

// Appends what is there; false at the end.
bool readSome(int descriptor, std::string& text) {
  std::array<char, 65536> buffer;
  const ssize_t count = ::read(descriptor, buffer.data(), buffer.size());
  if (count > 0) {
    text.append(buffer.data(), static_cast<std::size_t>(count));
  }
  return count > 0;
}

bool makePipe(FileHandle& reading, FileHandle& writing) {
  std::array<int, 2> ends{};
  if (::pipe2(ends.data(), O_CLOEXEC) != 0) {
    return false;
  }
  reading = FileHandle(ends[0]);
  writing = FileHandle(ends[1]);
  return true;
}

void writeAll(int descriptor, std::string_view text) {
  while (!text.empty()) {
    const ssize_t count = ::write(descriptor, text.data(), text.size());
    if (count < 0) {
      return;  // the shell has gone, as its end will tell
    }
    text.remove_prefix(static_cast<std::size_t>(count));
  }
}

}  // namespace

int RootShell::start() {
  FileHandle theirInput;
  FileHandle theirOutput;
  FileHandle theirErrors;
  if (!makePipe(theirInput, input_) || !makePipe(output_, theirOutput) ||
      !makePipe(errors_, theirErrors)) {
    return errno;
  }
  ChildSetup setup;
  setup.hand(theirInput.get(), 0);
  setup.hand(theirOutput.get(), 1);
  setup.hand(theirErrors.get(), 2);
  const int error = setup.start(
      {"/usr/bin/pkexec", "--disable-internal-agent", "/bin/sh", "-c", kOuterScript, kInnerScript},
      child_);
  if (error == 0) {
    g_unix_fd_add(output_.get(), static_cast<GIOCondition>(G_IO_IN | G_IO_HUP), onOut, this);
    g_unix_fd_add(errors_.get(), static_cast<GIOCondition>(G_IO_IN | G_IO_HUP), onErr, this);
    g_child_watch_add(child_, onEnd, this);
  }
  return error;
}

void RootShell::send(std::string_view script) {
  writeAll(input_.get(), script);
  writeAll(input_.get(), kEndMark);
  input_ = FileHandle();
}

int RootShell::onOut(int descriptor, GIOCondition, void* self) {
  auto* shell = static_cast<RootShell*>(self);
  if (!readSome(descriptor, shell->out_)) {
    shell->partEnded();
    return G_SOURCE_REMOVE;
  }
  shell->takeMark();
  return G_SOURCE_CONTINUE;
}

void RootShell::takeMark() {
  if (!marked_ && out_.starts_with(kMark)) {
    marked_ = true;
    out_.erase(0, kMark.size());
    handlers_.running();
  }
}

int RootShell::onErr(int descriptor, GIOCondition, void* self) {
  auto* shell = static_cast<RootShell*>(self);
  if (!readSome(descriptor, shell->err_)) {
    shell->partEnded();
    return G_SOURCE_REMOVE;
  }
  return G_SOURCE_CONTINUE;
}

void RootShell::onEnd(pid_t, int status, void* self) {
  auto* shell = static_cast<RootShell*>(self);
  shell->status_ = WIFSIGNALED(status) ? 128 + WTERMSIG(status) : WEXITSTATUS(status);
  shell->partEnded();
}

void RootShell::partEnded() {
  if (--partsLeft_ == 0) {
    handlers_.ended();
  }
}

}  // namespace fillstation::agent
