#include "RootShell.h"

#include <glib-unix.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <cstddef>
#include <utility>

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
  Pipe input;
  Pipe output;
  Pipe errors;
  if (!input.open() || !output.open() || !errors.open()) {
    return errno;
  }
  ChildSetup setup;
  setup.hand(input.reading.get(), 0);
  setup.hand(output.writing.get(), 1);
  setup.hand(errors.writing.get(), 2);
  const int error = setup.start(
      {"/usr/bin/pkexec", "--disable-internal-agent", "/bin/sh", "-c", kOuterScript, kInnerScript},
      child_);
  if (error == 0) {
    input_ = std::move(input.writing);
    output_ = std::move(output.reading);
    errors_ = std::move(errors.reading);
    for (const auto* reading : {&output_, &errors_}) {
      g_unix_fd_add(reading->get(), static_cast<GIOCondition>(G_IO_IN | G_IO_HUP), onOutput, this);
    }
    g_child_watch_add(child_, onEnd, this);
  }
  return error;
}

void RootShell::send(std::string_view script) {
  writeAll(input_.get(), script);
  writeAll(input_.get(), kEndMark);
  input_ = FileHandle();
}

int RootShell::onOutput(int descriptor, GIOCondition, void* self) {
  auto* shell = static_cast<RootShell*>(self);
  if (!readSome(descriptor, descriptor == shell->output_.get() ? shell->out_ : shell->err_)) {
    shell->partEnded();
    return G_SOURCE_REMOVE;
  }
  if (!shell->marked_ && shell->out_.starts_with(kMark)) {
    shell->marked_ = true;
    shell->out_.erase(0, kMark.size());
    shell->handlers_.running();
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
