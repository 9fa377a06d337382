#include "PolkitScriptRunner.h"

#include <utility>
#include <variant>

#include "GuardText.h"
#include "Platform.h"

namespace fillstation {

namespace {

// The tools' name of the disk that the guard holds open.
constexpr std::string_view kHeldNode = "/dev/fd/9";

// If the agent has gone, the command may have begun.
bool mayHaveBegun(const AgentReply& reply) {
  return reply.kind == AgentReply::Kind::unavailable ||
         (reply.kind == AgentReply::Kind::ended && reply.exitStatus != kGuardRefusal);
}

ScriptOutcome endedOutcome(AgentReply reply, const std::string& node) {
  if (reply.exitStatus == 0) {
    return {std::move(reply.out), std::nullopt, std::nullopt};
  }
  if (reply.err.ends_with('\n')) {
    reply.err.pop_back();
  }
  if (reply.err.empty()) {
    reply.err = "The command ended with status " + std::to_string(reply.exitStatus) + ".";
  }
  return failure(reply.exitStatus == kGuardRefusal ? ScriptError::kNotThePlayer : reply.exitStatus,
                 replaced(std::move(reply.err), kHeldNode, node));
}

// The outcome of a script on the node, from the agent's reply.
ScriptOutcome outcomeOf(AgentReply reply, const std::string& node) {
  switch (reply.kind) {
    case AgentReply::Kind::ended:
      return endedOutcome(std::move(reply), node);
    case AgentReply::Kind::cancelled:
      return failure(ScriptError::kCancelled, "The authentication was cancelled.");
    case AgentReply::Kind::wrongCredentials:
      return failure(ScriptError::kWrongCredentials, "The user name or the password is wrong.");
    case AgentReply::Kind::unknownUser:
      return failure(ScriptError::kUnknownUser, "There is no user of that name.");
    case AgentReply::Kind::notAdministrator:
      return failure(ScriptError::kNotAdministrator, "That user is not an administrator.");
    case AgentReply::Kind::needsMore:
      return failure(ScriptError::kNeedsMore, "The system asks for more than a password.");
    case AgentReply::Kind::notChecked:
      return failure(ScriptError::kNotChecked, "The system did not check the password.");
    default:
      return failure(ScriptError::kUnavailable, std::move(reply.err));
  }
}

}  // namespace

std::string_view guardScript() { return kGuardText; }

std::string guardedCommand(PlayerCommand::Kind kind, const DiskIdentity& player,
                           std::uint64_t sequence, std::string_view script) {
  std::string text = "node=" + player.node;
  text += "\nbus=" + std::to_string(player.usbHandle >> 16U);
  text += "\ndevice=" + std::to_string(player.usbHandle & 0xFFFFU);
  text += "\nsequence=" + std::to_string(sequence);
  text += kind == PlayerCommand::wipe ? "\nkind=wipe\n" : "\nkind=format\n";
  return text.append(script);
}

PolkitScriptRunner::PolkitScriptRunner(std::string agentPath, Announce announce, Spare spare)
    : announce_(std::move(announce)),
      spare_(std::move(spare)),
      shell_(std::move(agentPath), [] { return platform().workers->stopping(); }) {}

ScriptOutcome PolkitScriptRunner::run(std::string_view source,
                                      const DiskIdentity& target) noexcept {
  auto compiled = compileScript(source);
  if (const auto* error = std::get_if<ScriptOutcome>(&compiled)) {
    return *error;
  }
  auto& script = std::get<Script>(compiled);
  ScriptOutcome outcome = runCommand(script, target);
  wipeText(script.userName);
  wipeText(script.password);
  return outcome;
}

ScriptOutcome PolkitScriptRunner::runCommand(const Script& script, const DiskIdentity& target) {
  const auto command = parsePlayerCommand(script.command);
  if (!command || command->node != target.node) {
    return failure(ScriptError::kNotAPlayerCommand, "The command is not one for this player.");
  }
  const auto sequence = announce_(target);
  if (!sequence) {
    return failure(ScriptError::kNotThePlayer, "The device has gone.");
  }
  auto reply = shell_.run(script.userName, script.password,
                          guardedCommand(command->kind, target, *sequence));
  if (!mayHaveBegun(reply)) {
    spare_(target);
  }
  return outcomeOf(std::move(reply), target.node);
}

}  // namespace fillstation
