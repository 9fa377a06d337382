#include <unistd.h>

#include <utility>

#include "AgentCall.h"
#include "AgentProcess.h"
#include "AgentProtocol.h"

// The program that authenticates one call: its standard input is the socket to the utility.
int main() {
  using namespace fillstation;
  agent::harden();
  auto userName = receiveText(STDIN_FILENO);
  auto password = receiveText(STDIN_FILENO);
  if (!userName || !password) {
    return 2;
  }
  agent::AgentCall call(STDIN_FILENO, *std::move(userName), *std::move(password));
  sendReply(STDIN_FILENO, call.run());
  // Whatever is still under way in the libraries ends with the process.
  ::_exit(0);
}
