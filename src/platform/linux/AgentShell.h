#pragma once

#include <functional>
#include <string>
#include <string_view>

#include "AgentPlaces.h"
#include "AgentProtocol.h"

namespace fillstation {

// Runs shell commands as root, each in an agent program of its own that authenticates by a typed
// user name and password. Nothing of them is on a command line or in an environment, and the
// class keeps no copy. Any thread, several at once; outlives the calls.
class AgentShell {
 public:
  // More would be taken for wrong passwords by the system that checks them.
  static constexpr int kMostAtOnce = 32;

  // The path of the agent program. `stopping` tells, on any thread and at any time, whether the
  // program is ending: no command begins then, and what has not begun is cancelled.
  AgentShell(std::string agentPath, std::function<bool()> stopping);

  // Blocks, without a time-out, until the command has ended or can't begin. The command is a
  // shell script without a null byte; it runs in /root with /dev/null as standard input.
  AgentReply run(std::string_view userName, std::string_view password,
                 std::string_view command) noexcept;

 private:
  class Place;

  AgentReply converse(int socket, std::string_view command, Place& place) const;
  AgentReply awaitReply(int socket) const;

  const std::string agentPath_;
  const std::function<bool()> stopping_;
  AgentPlaces places_{kMostAtOnce};
};

}  // namespace fillstation
