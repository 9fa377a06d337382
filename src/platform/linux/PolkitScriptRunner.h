#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <string_view>

#include "AgentShell.h"
#include "PlayerGuard.h"
#include "ScriptRunner.h"

namespace fillstation {

struct Script;

// The numbers of failures other than an exit status (0 to 255).
struct ScriptError {
  static constexpr std::int64_t kCancelled = -128;
  static constexpr std::int64_t kWrongCredentials = -1002;
  static constexpr std::int64_t kNotAPlayerCommand = -1003;
  static constexpr std::int64_t kNotThePlayer = -1004;
  static constexpr std::int64_t kUnavailable = -1005;
  static constexpr std::int64_t kUnknownUser = -1006;
  static constexpr std::int64_t kNotAdministrator = -1007;
  static constexpr std::int64_t kNeedsMore = -1008;
  static constexpr std::int64_t kNotChecked = -1009;
};

// Runs the two commands that change a player as root, authenticated by polkit with the typed
// credentials, and only on the disk that they are meant for. Any thread, several at once.
class PolkitScriptRunner : public ScriptRunner {
 public:
  // By what a disk is recognised; none when it is not there (any more). Called on the thread that
  // runs the script.
  using GuardSource = std::function<std::optional<PlayerGuard>(const DiskIdentity&)>;

  // Told of a disk that had its guard taken for a command that did not begin.
  using Spared = std::function<void(const DiskIdentity&)>;

  // The path of the agent program; what the two functions use outlives the runner.
  PolkitScriptRunner(std::string agentPath, GuardSource guards, Spared spared);

  ScriptOutcome run(std::string_view source, const DiskIdentity& target) noexcept override;

 private:
  ScriptOutcome runCommand(const Script& script, const DiskIdentity& target);

  const GuardSource guards_;
  const Spared spared_;
  AgentShell shell_;
};

// What a reply means for the caller of a script on the node.
ScriptOutcome outcomeOf(AgentReply reply, const std::string& node);

}  // namespace fillstation
