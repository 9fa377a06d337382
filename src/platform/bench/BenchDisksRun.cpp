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

// Writes the scratch file's bytes to the head of the medium; pulls the player after half of them if
// asked to.
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

// dd truncates its target, which shortens a file but not a medium. So it writes to a scratch file,
// and these bytes go to the head of the image.
ScriptOutcome wipe(const BenchPlayer& player, const std::string& command) {
  const FileHandle scratch(::memfd_create("wipe", MFD_CLOEXEC));
  ScriptOutcome outcome = runOn(scratch.get(), command, player.node());
  if (outcome.result && !putOnMedium(scratch.get(), player)) {
    return gone();
  }
  return outcome;
}

ScriptOutcome format(const BenchPlayer& player, const std::string& command) {
  // The tool really refuses a medium without space.
  FileHandle tooSmall;
  if (player.faults().refuseFormat) {
    tooSmall = FileHandle(::memfd_create("format", MFD_CLOEXEC));
  }
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
  const bool formats = command->kind == PlayerCommand::format;
  if (formats) {
    player->pullAt(PullMoment::kBeforeFormat);
  }
  if (const auto refused = refusal(*player, target)) {
    return *refused;
  }
  player->setKnown(false);
  if (player->isReadOnly()) {
    // Every tool's message for a medium that it can't open for writing.
    return failure(1, "Read-only file system");
  }
  ScriptOutcome outcome = formats ? format(*player, script.command) : wipe(*player, script.command);
  if (formats && outcome.result) {
    remountAt(*player, RemountMoment::kAfterFormat);
  }
  return player->isPresent() ? outcome : gone();
}

}  // namespace fillstation
