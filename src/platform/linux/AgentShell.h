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

// The agent's replies in its one call. The utility sends it the user name and the password. The
// agent answers `verified` when the system has accepted them, gets the command, and ends with one
// of the other kinds.
struct AgentReply {
  enum class Kind : std::uint8_t {
    verified,
    ended,             // the command ran; exitStatus, out and err are its own
    cancelled,         // by the utility or by the system, before the command began
    wrongCredentials,  // the password is not that user's
    unknownUser,
    notAdministrator,
    needsMore,    // the system asked for more than a password
    notChecked,   // the system accepted or refused without asking for the password
    unavailable,  // no bus, no polkit, no pkexec, or they failed
  };

  // The reply of a call whose command didn't run, with the reason.
  static AgentReply of(Kind kind, std::string why = {}) { return {kind, 0, {}, std::move(why)}; }

  Kind kind = Kind::unavailable;
  int exitStatus = 0;  // 0 to 255; 128 plus the signal's number if a signal ended the shell
  std::string out;
  std::string err;  // except for `ended`: the reason, as a text for people; may be empty
};

// The limit of a text in bytes: far more than a tool writes, far less than the memory.
inline constexpr std::uint64_t kLongestText = std::uint64_t{16} << 20;

// The texts and replies on the socket between the two, each preceded by its length. Sending returns
// false, and receiving none, if the other side has gone or sends something else. Any thread, one
// per direction.
bool sendText(int socket, std::string_view text);
std::optional<std::string> receiveText(int socket);
bool sendReply(int socket, const AgentReply& reply);
std::optional<AgentReply> receiveReply(int socket);

// The agent program's path for the program at that path: beside it, as in a build folder, or else
// its installed path. Any thread.
std::string agentOf(const std::string& program);

// The path of the running program.
std::string thisProgram();

// Runs shell commands as root, each in its own agent process, which authenticates by the typed user
// name and password. These are on no command line and in no environment, and the class keeps no
// copy. Any thread, several at once; outlives the calls.
class AgentShell {
 public:
  // The system that checks passwords would answer more agents like wrong passwords.
  static constexpr int kMostAtOnce = 32;

  // The path of the agent program. `stopping` returns, on any thread and at any time, whether the
  // program is ending: then no command begins, and waiting ones are cancelled.
  AgentShell(std::string agentPath, std::function<bool()> stopping);

  // Blocks, without a time-out, until the command has ended or can't begin. The command is a
  // shell script without a null byte; it runs in /root with /dev/null as standard input.
  AgentReply run(std::string_view userName, std::string_view password,
                 std::string_view command) noexcept;

 private:
  // A lock for each agent that may authenticate at the same time.
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

  // Waits for the first reply; cancels if the program is ending.
  AgentReply awaitReply(int socket) const;

  const std::string agentPath_;
  const std::function<bool()> stopping_;
  Places places_;
};

}  // namespace fillstation
