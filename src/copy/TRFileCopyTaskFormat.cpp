#include "Platform.h"
#include "TRFileCopyTask.h"
#include "TRFileCopyTaskCollection.h"
#include "WipeText.h"

namespace fillstation {
namespace {

constexpr int kWipeAttempts = 3;
constexpr int kRefreshAttempts = 10;
// What the script runner says of an authentication that the user cancelled.
constexpr std::int32_t kUserCancelled = -128;

// A second's pause; false once the program is ending.
bool pause() {
  return platform().clock->sleep(std::chrono::seconds(1)) && !platform().workers->stopping();
}

std::string joined(const std::vector<std::string>& words) {
  std::string text;
  for (std::size_t at = 0; at < words.size(); ++at) {
    text += (at == 0 ? "" : " ") + words[at];
  }
  return text;
}

}  // namespace

bool TRFileCopyTask::format() {
  return player() && takeOffline() && wipe() && makeFileSystem() && bringBack() &&
         refreshVolumeFacts();
}

bool TRFileCopyTask::takeOffline() {
  const auto device = player();
  device->unmount();
  while (device->isMounted()) {
    if (!pause()) {
      return false;
    }
  }
  return pause();
}

bool TRFileCopyTask::wipe() {
  bool done = false;
  for (int attempt = 1; attempt <= kWipeAttempts && !done; ++attempt) {
    done = runOnDisk("dd", "if=/dev/zero", "of=%@ bs=4k count=10");
    if (!pause()) {
      return false;
    }
  }
  if (!done) {
    logText("dd operation failed.\n");
  }
  return done;
}

bool TRFileCopyTask::makeFileSystem() {
  const bool done = runOnDisk("mkfs.fat", "-F32", "%@");
  // No pause follows in which the end of the program would be noticed.
  if (platform().workers->stopping()) {
    return false;
  }
  if (!done) {
    logText("newfs_msdos operation failed.\n");
  }
  return done;
}

bool TRFileCopyTask::bringBack() {
  const auto device = player();
  device->mount();
  while (!device->isMounted()) {
    if (!pause()) {
      return false;
    }
  }
  return true;
}

bool TRFileCopyTask::refreshVolumeFacts() {
  const auto device = player();
  bool done = false;
  for (int attempt = 1; attempt <= kRefreshAttempts && !done; ++attempt) {
    done = device->refresVolumeInfo();
    if (!pause()) {
      return false;
    }
  }
  return done;
}

bool TRFileCopyTask::runOnDisk(const std::string& command, const std::string& firstArgument,
                               std::string_view diskArgument) {
  const auto group = taskGroup();
  const auto userName = group ? group->userName() : std::nullopt;
  auto userPass = group ? group->userPass() : std::nullopt;
  if (!userPass) {
    userPass = textOf(userPass);
  }
  std::optional<std::string> output;
  std::optional<std::string> errorDescription;
  const bool done = runProcessAsAdministrator(
      textOf(userName), *userPass, command,
      {firstArgument, formatText(diskArgument, player()->diskName())}, output, errorDescription);
  wipeText(*userPass);
  return done;
}

bool TRFileCopyTask::runProcessAsAdministrator(const std::string& userName,
                                               const std::string& userPass,
                                               const std::string& scriptPath,
                                               const std::vector<std::string>& arguments,
                                               std::optional<std::string>& output,
                                               std::optional<std::string>& errorDescription) {
  const std::string commandLine = formatText("%@ %@", scriptPath, joined(arguments));
  constexpr std::string_view kEnd = "\" with administrator privileges";
  std::string source =
      formatText("do shell script \"%@\" user name \"%@\" password \"", commandLine, userName);
  // Before the password comes, so that it is in one place only, which is wiped.
  source.reserve(source.size() + userPass.size() + kEnd.size());
  source.append(userPass).append(kEnd);
  const auto target = player();
  const ScriptOutcome outcome =
      platform().scriptRunner->run(source, target ? target->identity() : DiskIdentity());
  wipeText(source);
  if (outcome.result) {
    output = outcome.result;
    return true;
  }
  // The number counts as the 32 bits that the runner's interface gives it.
  const bool cancelled =
      outcome.errorNumber && static_cast<std::int32_t>(*outcome.errorNumber) == kUserCancelled;
  errorDescription =
      cancelled ? "The administrator password is required to do this." : outcome.errorMessage;
  return false;
}

}  // namespace fillstation
