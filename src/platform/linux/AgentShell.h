#pragma once

#include <condition_variable>
#include <cstdint>
#include <functional>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

namespace fillstation {

// What the agent program tells of its one call. The utility sends it the user name and the
// password; the agent answers `verified` once the system has accepted them, gets the command, and
// ends with any other kind.
struct AgentReply {
  enum class Kind : std::uint8_t {
    verified,
    ended,             // the command ran; exitStatus, out and err are its own
    cancelled,         // by the utility or by the system, before the command began
    wrongCredentials,  // the password is not that user's
    unknownUser,
    notAdministrator,
    needsMore,    // the system asked for more than a password
    notChecked,   // the system let us pass or refused without asking for the password
    unavailable,  // no bus, no polkit, no pkexec, or they failed
  };

  // A reply of a call whose command didn't run, and why.
  static AgentReply of(Kind kind, std::string why = {}) { return {kind, 0, {}, std::move(why)}; }

  Kind kind = Kind::unavailable;
  int exitStatus = 0;  // 0 to 255; 128 and the signal's number when one ended the shell
  std::string out;
  std::string err;  // unless ended: why, as a text for people; may be empty
};

// The most bytes that a text may have: far more than a tool says, and far less than memory holds.
inline constexpr std::uint64_t kLongestText = std::uint64_t{16} << 20;

// The texts and replies on the socket between the two, each with its length before it. Sending
// gives false, and receiving none, when the other side has gone or says what is no text or reply.
// Any thread, one per direction.
bool sendText(int socket, std::string_view text);
std::optional<std::string> receiveText(int socket);
bool sendReply(int socket, const AgentReply& reply);
std::optional<AgentReply> receiveReply(int socket);

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
