#pragma once

#include <glib-unix.h>
#include <sys/types.h>
#include <sys/wait.h>

#include <cerrno>
#include <functional>
#include <string>
#include <string_view>
#include <utility>

#include "ChildProcess.h"

namespace fillstation::agent {

// A root shell started by pkexec. It prints a mark when it runs, reads a script from its standard
// input, and executes it only when it is complete, so that the script is on no command line and in
// no log. One thread, its main loop; lives until the process ends.
class RootShell {
 public:
  struct Handlers {
    std::function<void()> running;  // the mark was received
    std::function<void()> ended;    // the shell, or pkexec, has ended and its output is complete
  };

  explicit RootShell(Handlers handlers) : handlers_(std::move(handlers)) {}

  // 0 or an errno. Call it on the thread that lives until the process ends: pkexec ends with it.
  int start() {
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
    const int error = setup.start({"/usr/bin/pkexec", "--disable-internal-agent", "/bin/sh", "-c",
                                   kOuterScript, kInnerScript},
                                  child_);
    if (error == 0) {
      input_ = std::move(input.writing);
      output_ = std::move(output.reading);
      errors_ = std::move(errors.reading);
      for (const auto* reading : {&output_, &errors_}) {
        g_unix_fd_add(reading->get(), static_cast<GIOCondition>(G_IO_IN | G_IO_HUP), onOutput,
                      this);
      }
      g_child_watch_add(child_, onEnd, this);
    }
    return error;
  }
  pid_t process() const { return child_; }

  // Sends the script, which the shell then executes. If the shell has gone, its end is reported.
  // Once, or refuse() instead.
  void send(std::string_view script) {
    writeAll(input_.get(), script);
    writeAll(input_.get(), kEndMark);
    input_ = FileHandle();
  }
  // Makes the shell end without executing anything.
  void refuse() { input_ = FileHandle(); }

  // Once it has ended:
  bool wasRunning() const { return marked_; }
  int exitStatus() const { return status_; }  // 0 to 255; 128 and a signal's number
  const std::string& out() const { return out_; }
  const std::string& err() const { return err_; }

 private:
  static constexpr std::string_view kMark = "fillstation: ready\n";
  static constexpr std::string_view kEndMark = "\n# fillstation: complete";
  // A shell can't stop ignoring a signal, and pkexec leaves SIGPIPE ignored.
  static constexpr const char* kOuterScript = "exec env --default-signal=PIPE /bin/sh -c \"$0\"";
  static constexpr const char* kInnerScript =
      "echo 'fillstation: ready'\n"
      "script=$(cat)\n"
      "case $script in\n"
      "*'# fillstation: complete') eval \"$script\" </dev/null ;;\n"
      "*) exit 125 ;;\n"
      "esac\n";

  static int onOutput(int descriptor, GIOCondition /*condition*/, void* self) {
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

  static void onEnd(pid_t /*process*/, int status, void* self) {
    auto* shell = static_cast<RootShell*>(self);
    shell->status_ = WIFSIGNALED(status) ? 128 + WTERMSIG(status) : WEXITSTATUS(status);
    shell->partEnded();
  }

  void partEnded() {
    if (--partsLeft_ == 0) {
      handlers_.ended();
    }
  }

  const Handlers handlers_;
  FileHandle input_;
  FileHandle output_;
  FileHandle errors_;
  pid_t child_ = 0;
  int partsLeft_ = 3;  // both outputs and the process
  bool marked_ = false;
  int status_ = 0;
  std::string out_;
  std::string err_;
};

}  // namespace fillstation::agent
