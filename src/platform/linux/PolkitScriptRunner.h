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
// credentials, and only on the disk that they are meant for. Any thread, several at once.
class PolkitScriptRunner : public ScriptRunner {
 public:
  // Announces that a command for the player is about to run, on the thread that runs the script.
  // The kernel's sequence number of its disk; none when that is not there (any more).
  using Announce = std::function<std::optional<std::uint64_t>(const DiskIdentity&)>;
  // Takes the latest announcement for the player back: its command did not begin.
  using Spare = std::function<void(const DiskIdentity&)>;

  // The path of the agent program; what the two functions use outlives the runner.
  PolkitScriptRunner(std::string agentPath, Announce announce, Spare spare);

  ScriptOutcome run(std::string_view source, const DiskIdentity& target) noexcept override;

 private:
  ScriptOutcome runCommand(const Script& script, const DiskIdentity& target);

  const Announce announce_;
  const Spare spare_;
  AgentShell shell_;
};

// The exit status of a guard that has refused; its standard error says why. None of the two
// commands ends with it.
inline constexpr int kGuardRefusal = 77;

// The guard as a script for the system's shell (guard.sh), needing nothing but its commands and the
// variables that it names.
std::string_view guardScript();

// The script that checks that the player's disk is still the one of that sequence number, runs the
// command on the very disk that it checked, and looks after it; its exit status is the command's
// own or kGuardRefusal. Any thread.
std::string guardedCommand(PlayerCommand::Kind kind, const DiskIdentity& player,
                           std::uint64_t sequence, std::string_view script = guardScript());

}  // namespace fillstation
