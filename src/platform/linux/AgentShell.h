#pragma once

#include <condition_variable>
#include <functional>
#include <mutex>
#include <string>
#include <string_view>

#include "AgentProtocol.h"

namespace fillstation {

// Where the agent program is for the program at that path: beside it, as in a build folder, or else
// where it is installed. Any thread.
std::string agentOf(const std::string& program);

// The path of the running program.
std::string thisProgram();

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
  // As many locks as agents may authenticate at once.
  class Places {
   public:
    void lock() {
      std::unique_lock guard(lock_);
      changed_.wait(guard, [this] { return free_ > 0; });
      --free_;
    }
    void unlock() {
      const std::scoped_lock guard(lock_);
      ++free_;
      changed_.notify_one();
    }

   private:
    std::mutex lock_;
    std::condition_variable changed_;
    int free_ = kMostAtOnce;
  };

  // Waits for the first reply, and cancels when the program is ending.
  AgentReply awaitReply(int socket) const;

  const std::string agentPath_;
  const std::function<bool()> stopping_;
  Places places_;
};

}  // namespace fillstation
