#include "TRFileCopyTask.h"

#include <algorithm>

#include "Platform.h"
#include "TRFileCopyTaskCollection.h"
#include "Url.h"

namespace fillstation {
namespace {

// Holds a hundred times any size.
__extension__ using Wide = __int128;

std::atomic<FileManager*> sharedFileManager{nullptr};

Atomic<std::shared_ptr<std::mutex>>& lastLock() {
  static Atomic<std::shared_ptr<std::mutex>> lock;
  return lock;
}

bool ending() { return platform().workers->stopping(); }

// Asks for the text of the address, scheme and escapes included, as if it were a path: kept so, and
// therefore hardly ever true.
bool existsAlready(const TRFile& node) {
  return TRFileCopyTask::filemgr()->fileExists(node.url().value_or(Url()).absoluteString());
}

std::string sourceOf(const TRFile& node) { return node.url().value_or(Url()).path(); }

// Where the node goes: the volume itself for what has no place below it.
std::string pathOn(const std::string& mountPath, const TRFile& node) {
  const std::string below = node.destRelativeUrl().value_or(Url::withString("/")).path();
  return below == "/" ? mountPath : mountPath + '/' + below;
}

// A node as what was put onto the volume that is mounted there.
class CopiedNode : public CopiedItem {
 public:
  CopiedNode(const TRFile& node, const std::string& mountPath)
      : node_(node), mountPath_(mountPath) {}

  bool isDirectory() const override { return node_.isDir(); }
  std::int64_t size() const override { return node_.size().value(); }
  std::string source() const override { return sourceOf(node_); }
  std::string destination() const override { return pathOn(mountPath_, node_); }

 private:
  const TRFile& node_;
  const std::string& mountPath_;
};

}  // namespace

TRFileCopyTask::TRFileCopyTask() : TRFileCopyTask(nullptr, nullptr, nullptr, nullptr) {}

TRFileCopyTask::TRFileCopyTask(std::shared_ptr<TRPlayer> player,
                               const std::shared_ptr<TRFileList>& files,
                               std::shared_ptr<std::mutex> sharedLock,
                               const std::shared_ptr<TRFileCopyTaskCollection>& taskGroup) {
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
    setError(true);
    updateProgressWith(totalSize());
    return;
  }
  logText("Beginning copyTask operation.\n");
  const Destination destination = openDestination();
  if (const auto roots = files()) {
    for (const auto& root : *roots) {
      copyRoot(*root, destination);
    }
  }
  if (ending()) {
    setError(true);
    return;
  }
  if (destination.volume && !isOnTheMedium(destination)) {
    setError(true);
  }
  logText("copy Done!!!\n");
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

bool TRFileCopyTask::isOnTheMedium(const Destination& destination) const {
  const bool flushed = destination.volume->flush();
  // A player that has failed already needs no further proof.
  return flushed && (error() || destination.volume->readBack([&](const auto& visitor) {
           forEachNode([&](const TRFile& node) {
             return existsAlready(node) || visitor(CopiedNode(node, destination.mountPath));
           });
         }));
}

void TRFileCopyTask::forEachNode(const std::function<bool(const TRFile&)>& visitor) const {
  const auto visit = [&](const std::shared_ptr<TRFile>& node) { return visitor(*node); };
  const auto visitRoot = [&](const std::shared_ptr<TRFile>& root) {
    if (!root->isDir()) {
      return visit(root);
    }
    const auto nodes = root->files();
    return !nodes || std::all_of(nodes->begin(), nodes->end(), visit);
  };
  if (const auto roots = files()) {
    static_cast<void>(std::all_of(roots->begin(), roots->end(), visitRoot));
  }
}

void TRFileCopyTask::copyRoot(const TRFile& root, const Destination& destination) {
  if (root.isDir()) {
    if (const auto nodes = root.files()) {
      for (const auto& node : *nodes) {
        copyNode(*node, destination);
      }
    }
    return;
  }
  if (ending()) {
    return;
  }
  if (!existsAlready(root)) {
    logText("Copy %@\n", root);
    copyFile(root, destination);
  }
  updateProgressWith(root.size().value());
}

void TRFileCopyTask::copyNode(const TRFile& node, const Destination& destination) {
  if (ending()) {
    return;
  }
  logText("Copy %@\n", node);
  if (!existsAlready(node)) {
    if (!node.isDir()) {
      copyFile(node, destination);
    } else if (!destination.volume ||
               !destination.volume->createDirectory(pathOn(destination.mountPath, node))) {
      setError(true);
    }
  }
  updateProgressWith(node.size().value());
}

void TRFileCopyTask::copyFile(const TRFile& file, const Destination& destination) {
  if (destination.volume &&
      destination.volume->copyItem(sourceOf(file), pathOn(destination.mountPath, file))) {
    logText("Copy successful");
  } else {
    setError(true);
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
