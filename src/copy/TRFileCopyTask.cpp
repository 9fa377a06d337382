#include "TRFileCopyTask.h"

#include <algorithm>

#include "Platform.h"
#include "TRFileCopyTaskCollection.h"
#include "Url.h"

namespace fillstation {
namespace {

// Large enough for a hundred times any size.
__extension__ using Wide = __int128;

constexpr int kWipeAttempts = 3;
constexpr int kRefreshAttempts = 10;
// The script runner's number for an authentication that the user cancelled.
constexpr std::int32_t kUserCancelled = -128;

std::atomic<FileManager*> sharedFileManager{nullptr};

Atomic<std::shared_ptr<std::mutex>>& lastLock() {
  static Atomic<std::shared_ptr<std::mutex>> lock;
  return lock;
}

bool ending() { return platform().workers->stopping(); }

// Checks the text of the address, with scheme and escapes, as if it were a path. So it is hardly
// ever true, which is on purpose.
bool existsAlready(const TRFile& node) {
  return TRFileCopyTask::filemgr()->fileExists(node.url().value_or(Url()).absoluteString());
}

// The decoded path of the node's address.
std::string sourceOf(const TRFile& node) { return node.path().value_or(""); }

// The node's destination; the volume itself for a node without one.
std::string pathOn(const std::string& mountPath, const TRFile& node) {
  const std::string below = node.destRelativeUrl().value_or(Url::withString("/")).path();
  return below == "/" ? mountPath : mountPath + '/' + below;
}

UsbPlace placeOf(const TRPlayer* player) {
  const auto* const bus = platform().usbBus;
  return player != nullptr && bus != nullptr
             ? bus->placeOf(static_cast<std::uint32_t>(player->IONumber()))
             : UsbPlace();
}

// Pauses for a second; false when the program is ending.
bool pause() { return platform().clock->sleep(std::chrono::seconds(1)) && !ending(); }

}  // namespace

TRFileCopyTask::TRFileCopyTask() : TRFileCopyTask(nullptr, nullptr, nullptr, nullptr) {}

TRFileCopyTask::TRFileCopyTask(std::shared_ptr<TRPlayer> player,
                               const std::shared_ptr<TRFileList>& files,
                               std::shared_ptr<std::mutex> sharedLock,
                               const std::shared_ptr<TRFileCopyTaskCollection>& taskGroup)
    : record_(placeOf(player.get())) {
  sharedFileManager = platform().fileManager;
  if (!player || !files) {
    return;
  }
  player_.set(std::move(player));
  files_.set(std::make_shared<TRFileList>(*files));
  taskGroup_.set({taskGroup, taskGroup});
  for (const auto& root : *files) {
    totalSize_ += root->size().value();
  }
  lastLock().set(std::move(sharedLock));
}

FileManager* TRFileCopyTask::filemgr() { return sharedFileManager; }

std::shared_ptr<std::mutex> TRFileCopyTask::sharedLocker() { return lastLock().get(); }

void TRFileCopyTask::setTaskGroup(const std::shared_ptr<TRFileCopyTaskCollection>& value) {
  const bool owned = value && value->lists(*this);
  taskGroup_.set({value, owned ? nullptr : value});
}

void TRFileCopyTask::copyTask() {
  logText("Beginning format operation.\n");
  if (!format()) {
    fail({});
    begin(Step::kDone);
    updateProgressWith(totalSize());
    return;
  }
  begin(Step::kCopy);
  logText("Beginning copyTask operation.\n");
  const Destination destination = openDestination();
  forEachNode([&](const TRFile& node, bool isRoot) { return copyNode(node, isRoot, destination); });
  if (ending()) {
    fail(destination);
    return;
  }
  if (destination.volume && !isOnTheMedium(destination)) {
    fail(destination);
  }
  begin(Step::kDone);
  logText("copy Done!!!\n");
}

void TRFileCopyTask::fail(const Destination& destination) {
  setError(true);
  record_.fail(destination.volume ? destination.volume->failure() : VolumeFailure());
}

LogFields TRFileCopyTask::record() const {
  auto fields = record_.fields();
  std::int64_t count = 0;
  forEachNode([&count](const TRFile& node, bool /*isRoot*/) {
    count += node.isDir() ? 0 : 1;
    return true;
  });
  if (const auto device = player()) {
    fields.emplace_back("PLAYER", textOf(device->diskName()));
    fields.emplace_back("SIZE", textOf(device->size()));
  }
  fields.emplace_back("FILES", std::to_string(count));
  fields.emplace_back("BYTES", std::to_string(totalSize()));
  return fields;
}

bool TRFileCopyTask::format() {
  return player() && takeOffline() && wipe() && makeFileSystem() && bringBack() &&
         refreshVolumeFacts();
}

bool TRFileCopyTask::takeOffline() {
  begin(Step::kUnmount);
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
  begin(Step::kWipe);
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
  begin(Step::kFormat);
  const bool done = runOnDisk("mkfs.fat", "-F32", "%@");
  // No pause follows that would notice the end of the program.
  if (ending()) {
    return false;
  }
  if (!done) {
    logText("newfs_msdos operation failed.\n");
  }
  return done;
}

bool TRFileCopyTask::bringBack() {
  begin(Step::kMount);
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
  std::string commandLine = scriptPath + (arguments.empty() ? " " : "");
  for (const auto& argument : arguments) {
    commandLine += ' ' + argument;
  }
  constexpr std::string_view kEnd = "\" with administrator privileges";
  std::string source =
      formatText("do shell script \"%@\" user name \"%@\" password \"", commandLine, userName);
  // Before the password is inserted, so that only one copy of it has to be wiped.
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
  // The number counts as 32 bits, the width that the runner's interface has.
  const bool cancelled =
      outcome.errorNumber && static_cast<std::int32_t>(*outcome.errorNumber) == kUserCancelled;
  errorDescription =
      cancelled ? "The administrator password is required to do this." : outcome.errorMessage;
  return false;
}

TRFileCopyTask::Destination TRFileCopyTask::openDestination() const {
  const auto owner = player();
  const auto text = owner->path();
  if (!text) {
    return {};
  }
  const std::string mountPath = Url::withString(*text).path();
  return {mountPath, filemgr()->openVolume(mountPath, owner->identity())};
}

bool TRFileCopyTask::isOnTheMedium(const Destination& destination) {
  begin(Step::kFlush);
  const auto items = [&](const auto& visitor) {
    forEachNode([&](const TRFile& node, bool /*isRoot*/) {
      return existsAlready(node) || visitor({node.isDir(), node.size().value(), sourceOf(node),
                                             pathOn(destination.mountPath, node)});
    });
  };
  const bool flushed = destination.volume->flush();
  // A player that has already failed is not checked.
  if (!flushed || error()) {
    return flushed;
  }
  begin(Step::kCheck);
  return destination.volume->readBack(items);
}

void TRFileCopyTask::forEachNode(const Visitor& visitor) const {
  const auto visitRoot = [&](const std::shared_ptr<TRFile>& root) {
    if (!root->isDir()) {
      return visitor(*root, true);
    }
    const auto nodes = root->files();
    return !nodes || std::all_of(nodes->begin(), nodes->end(),
                                 [&](const auto& node) { return visitor(*node, false); });
  };
  if (const auto roots = files()) {
    static_cast<void>(std::all_of(roots->begin(), roots->end(), visitRoot));
  }
}

bool TRFileCopyTask::copyNode(const TRFile& node, bool isRoot, const Destination& destination) {
  if (ending()) {
    return false;
  }
  if (!isRoot) {
    logText("Copy %@\n", node);
  }
  if (!existsAlready(node)) {
    if (isRoot) {
      logText("Copy %@\n", node);
    }
    if (!node.isDir()) {
      copyFile(node, destination);
    } else if (!destination.volume ||
               !destination.volume->createDirectory(pathOn(destination.mountPath, node))) {
      fail(destination);
    }
  }
  updateProgressWith(node.size().value());
  return true;
}

void TRFileCopyTask::copyFile(const TRFile& file, const Destination& destination) {
  if (destination.volume &&
      destination.volume->copyItem(sourceOf(file), pathOn(destination.mountPath, file))) {
    logText("Copy successful");
  } else {
    fail(destination);
    logText("Copy failed");
  }
}

void TRFileCopyTask::updateProgressWith(std::int64_t bytes) {
  currentSize_ += bytes;
  const std::int64_t total = totalSize_;
  currentProgress_ = total == 0 ? 100 : static_cast<std::int64_t>(Wide{currentSize_} * 100 / total);
  if (const auto group = taskGroup()) {
    group->updateProgress();
  }
}

}  // namespace fillstation
