#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <string_view>

#include "AgentShell.h"
#include "ScriptCompiler.h"
#include "ScriptRunner.h"

namespace fillstation {

// Runs the two commands that change a player as root, authenticated by polkit with the typed
// credentials, and only on the right disk. Any thread, several at once.
class PolkitScriptRunner : public ScriptRunner {
 public:
  // Announces a command for the player, on the thread that runs the script. Returns the kernel's
  // sequence number of its disk; none if that is not there (any more).
  using Announce = std::function<std::optional<std::uint64_t>(const DiskIdentity&)>;
  // Withdraws the latest announcement for the player: its command did not begin.
  using Spare = std::function<void(const DiskIdentity&)>;

  // The path of the agent program; the services of the two functions outlive the runner.
  PolkitScriptRunner(std::string agentPath, Announce announce, Spare spare);

  ScriptOutcome run(std::string_view source, const DiskIdentity& target) noexcept override;

 private:
  ScriptOutcome runCommand(const Script& script, const DiskIdentity& target);

  const Announce announce_;
  const Spare spare_;
  AgentShell shell_;
};

// The exit status of a guard that has refused; its standard error has the reason. Neither of the
// two commands ends with it.
inline constexpr int kGuardRefusal = 77;

// The guard as a script for the system's shell (guard.sh). It needs only its commands and the
// variables that it names.
std::string_view guardScript();

// The script that checks that the player's disk still has that sequence number, runs the command on
// the disk that it checked, and cleans up after it. Its exit status is the command's or
// kGuardRefusal. Any thread.
std::string guardedCommand(PlayerCommand::Kind kind, const DiskIdentity& player,
                           std::uint64_t sequence, std::string_view script = guardScript());

}  // namespace fillstation
