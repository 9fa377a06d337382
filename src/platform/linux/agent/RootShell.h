#pragma once

#include <glib.h>
#include <sys/types.h>

#include <functional>
#include <string>
#include <string_view>

#include "ChildProcess.h"

namespace fillstation::agent {

// A root shell begun by pkexec. It prints a mark as soon as it runs, takes a script from its
// standard input and executes it only when it is complete, so that nothing of the script is on a
// command line or in a log. One thread, its main loop; lives to the process's end.
class RootShell {
 public:
  struct Handlers {
    std::function<void()> running;  // the mark has come
    std::function<void()> ended;    // the shell, or pkexec, has ended and its output is complete
  };

  explicit RootShell(Handlers handlers) : handlers_(std::move(handlers)) {}

  // 0 or an errno. From the thread that lives to the process's end: pkexec ends with it.
  int start();
  pid_t process() const { return child_; }

  // Sends the script; the shell begins to execute it. Once, or refuse() instead.
  void send(std::string_view script);
  // Has the shell end without executing anything.
  void refuse() { input_ = FileHandle(); }

  // Once it has ended:
  bool wasRunning() const { return marked_; }
  int exitStatus() const { return status_; }  // 0 to 255; 128 and a signal's number
  const std::string& out() const { return out_; }
  const std::string& err() const { return err_; }

 private:
  static int onOutput(int descriptor, GIOCondition condition, void* self);
  static void onEnd(pid_t process, int status, void* self);

  void partEnded();

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
