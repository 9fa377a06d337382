#include "QtWorkspace.h"

#include <sys/wait.h>
#include <unistd.h>

#include <thread>

#include "ChildProcess.h"

namespace fillstation {

void QtWorkspace::openUrl(const std::string& address) {
  ChildSetup setup;
  setup.discard(STDOUT_FILENO);
  setup.discard(STDERR_FILENO);
  setup.startSession();
  pid_t child = 0;
  if (setup.start({"xdg-open", address}, child) == 0) {
    std::thread([child] { ::waitpid(child, nullptr, 0); }).detach();
  }
}

}  // namespace fillstation
