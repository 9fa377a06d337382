#include <sys/mman.h>
#include <unistd.h>

#include "BenchDisks.h"
#include "BenchFolder.h"
#include "FileHandle.h"
#include "Format.h"
#include "ScriptCompiler.h"

namespace fillstation {

namespace {

// The only disks that the commands are for.
constexpr std::string_view kPlayerVendor = "ACTIONS";
// User name and password.
constexpr std::string_view kAdministrator = "bench";

ScriptOutcome gone() { return failure(ScriptError::kNotThePlayer, "The device has gone."); }

// Why the command must not run on this player, none when it may.
std::optional<ScriptOutcome> refusal(const BenchPlayer& player, const DiskIdentity& target) {
  if (!player.is(target) || player.isEjected()) {
    return gone();
  }
  if (player.identity().vendor != kPlayerVendor) {
    return failure(ScriptError::kNotThePlayer, "The disk is not a player.");
  }
  if (player.volume()) {
    return failure(ScriptError::kNotThePlayer, "The disk is mounted.");
  }
  return std::nullopt;
}

// Runs the command with the descriptor in the node's place.
ScriptOutcome runOn(int descriptor, const std::string& command, const std::string& node) {
  const ShellResult result = runOnImage(replaced(command, node, kHandedImage), descriptor);
  if (result.exitStatus != 0) {
    return failure(result.exitStatus, replaced(result.err, kHandedImage, node));
  }
  return ScriptOutcome{result.out, std::nullopt, std::nullopt};
}

// Puts what a scratch file holds onto the medium's head, and pulls the player when half is there.
bool putOnMedium(int scratch, const BenchPlayer& player) {
  std::vector<char> bytes(static_cast<std::size_t>(::lseek(scratch, 0, SEEK_END)));
  const std::size_t half = bytes.size() / 2;
  if (::pread(scratch, bytes.data(), bytes.size(), 0) != static_cast<ssize_t>(bytes.size()) ||
      ::pwrite(player.image(), bytes.data(), half, 0) != static_cast<ssize_t>(half)) {
    return false;
  }
  player.pullAt(PullMoment::kDuringWipe);
  const std::size_t rest = bytes.size() - half;
  return player.isPresent() && ::pwrite(player.image(), &bytes[half], rest,
                                        static_cast<off_t>(half)) == static_cast<ssize_t>(rest);
}

// dd begins by cutting its target, which a file suffers and a medium doesn't: it writes into a
// scratch file, and what it has written goes to the image's head.
ScriptOutcome wipe(const BenchPlayer& player, const std::string& command) {
  const FileHandle scratch(::memfd_create("wipe", MFD_CLOEXEC));
  ScriptOutcome outcome = runOn(scratch.get(), command, player.node());
  if (outcome.result && !putOnMedium(scratch.get(), player)) {
    return gone();
  }
  return outcome;
}

ScriptOutcome format(const BenchPlayer& player, const std::string& command) {
  // A medium without room is what the tool really refuses.
  const FileHandle tooSmall(player.faults().refuseFormat ? ::memfd_create("format", MFD_CLOEXEC)
                                                         : -1);
  ScriptOutcome outcome = runOn(tooSmall ? tooSmall.get() : player.image(), command, player.node());
  player.pullAt(PullMoment::kDuringFormat);
  return outcome;
}

}  // namespace

ScriptOutcome BenchDisks::run(std::string_view source, const DiskIdentity& target) {
  const auto compiled = compileScript(source);
  if (const auto* error = std::get_if<ScriptOutcome>(&compiled)) {
    return *error;
  }
  const Script& script = std::get<Script>(compiled);
  if (script.userName != kAdministrator || script.password != kAdministrator) {
    return failure(ScriptError::kWrongCredentials, "The user name or the password is wrong.");
  }
  const auto command = parsePlayerCommand(script.command);
  if (!command || command->node != target.node) {
    return failure(ScriptError::kNotAPlayerCommand, "The command is not one for this player.");
  }
  const auto player = find(target);
  if (!player) {
    return gone();
  }
  const std::scoped_lock guard(player->access());
  if (command->kind == PlayerCommand::format) {
    player->pullAt(PullMoment::kBeforeFormat);
  }
  if (const auto refused = refusal(*player, target)) {
    return *refused;
  }
  player->setKnown(false);
  if (player->isReadOnly()) {
    // What every tool says of a medium that it can't open for writing.
    return failure(1, "Read-only file system");
  }
  ScriptOutcome outcome = command->kind == PlayerCommand::wipe ? wipe(*player, script.command)
                                                               : format(*player, script.command);
  if (command->kind == PlayerCommand::format && outcome.result) {
    remountAt(*player, RemountMoment::kAfterFormat);
  }
  return player->isPresent() ? outcome : gone();
}

}  // namespace fillstation
