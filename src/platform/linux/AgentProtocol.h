#pragma once

#include <cstdint>
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
  static AgentReply of(Kind kind, std::string why = {}) {
    AgentReply reply;
    reply.kind = kind;
    reply.err = std::move(why);
    return reply;
  }

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

}  // namespace fillstation
