#pragma once

#include <atomic>
#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "Atomic.h"
#include "FileManager.h"
#include "TRFile.h"
#include "TRPlayer.h"
#include "TaskRecord.h"

namespace fillstation {

class TRFileCopyTaskCollection;

// The job of one player in a run: format it, then copy the whole file set onto its fresh volume.
// Made on the main thread, always held by std::shared_ptr, run once by copyTask() on a worker
// thread, afterwards only read. A task made alone holds its collection; one that is listed in its
// collection is held by it instead, and is to be kept as the pointer that tasks() hands out, which
// keeps both alive. Every property may be read and set on any thread. Once the program is ending a
// task begins no further command, directory or file, and ends with an error.
class TRFileCopyTask : public std::enable_shared_from_this<TRFileCopyTask> {
 public:
  // Same as the other constructor with all arguments missing.
  TRFileCopyTask();

  // Takes a copy of the list (the nodes themselves are shared) and sums the roots' sizes. Without a
  // player or a list every field stays zero or absent, the collection included.
  TRFileCopyTask(std::shared_ptr<TRPlayer> player, const std::shared_ptr<TRFileList>& files,
                 std::shared_ptr<std::mutex> sharedLock,
                 const std::shared_ptr<TRFileCopyTaskCollection>& taskGroup);

  TRFileCopyTask(const TRFileCopyTask&) = delete;
  TRFileCopyTask& operator=(const TRFileCopyTask&) = delete;

  // Runs the whole job; the outcome is error(). Worker thread only.
  void copyTask();

  // Takes the player offline, wipes and formats it, brings it back and reads its volume facts. True
  // when all of that happened. Waits for the player without a limit. Worker thread only.
  bool format();

  // Runs `scriptPath arguments…` as administrator and blocks until it has finished. Nothing is
  // quoted or escaped on the way into the script text. True on success, with the result text in
  // output; false otherwise, with the reason (or none) in errorDescription. The one that doesn't
  // apply is untouched.
  bool runProcessAsAdministrator(const std::string& userName, const std::string& userPass,
                                 const std::string& scriptPath,
                                 const std::vector<std::string>& arguments,
                                 std::optional<std::string>& output,
                                 std::optional<std::string>& errorDescription);

  // Where the task is: any thread. Enters another step: its own thread.
  Step step() const { return record_.step(); }
  void begin(Step step) { record_.begin(step); }
  // What the log is to hold of the task once it has ended. Worker thread.
  LogFields record() const;

  // Counts bytes as dealt with and reports; returns when the window has shown the new figure. A
  // task with nothing to copy reports 100 percent.
  void updateProgressWith(std::int64_t bytes);

  // True once anything in this task has failed.
  bool error() const { return error_.get(); }
  void setError(bool value) { error_.set(value); }
  std::shared_ptr<TRPlayer> player() const { return player_.get(); }
  void setPlayer(std::shared_ptr<TRPlayer> value) { player_.set(std::move(value)); }
  std::shared_ptr<TRFileList> files() const { return files_.get(); }
  void setFiles(std::shared_ptr<TRFileList> value) { files_.set(std::move(value)); }
  // Bytes to deal with, and dealt with so far.
  std::int64_t totalSize() const { return totalSize_; }
  void setTotalSize(std::int64_t value) { totalSize_ = value; }
  std::int64_t currentSize() const { return currentSize_; }
  void setCurrentSize(std::int64_t value) { currentSize_ = value; }
  // Percent, 0 to 100, truncated.
  std::int64_t currentProgress() const { return currentProgress_; }
  void setCurrentProgress(std::int64_t value) { currentProgress_ = value; }
  // Kept state that nothing here reads.
  std::shared_ptr<void> authRef() const { return authRef_.get(); }
  void setAuthRef(std::shared_ptr<void> value) { authRef_.set(std::move(value)); }
  // The collection that made the task, null for a task made without one.
  std::shared_ptr<TRFileCopyTaskCollection> taskGroup() const {
    return taskGroup_.get().seen.lock();
  }
  void setTaskGroup(const std::shared_ptr<TRFileCopyTaskCollection>& value);

  // The platform's file manager, assigned at each creation of a task; and the lock that was passed
  // to the last one that was made with a player and a list, which nothing reads.
  static FileManager* filemgr();
  static std::shared_ptr<std::mutex> sharedLocker();

 private:
  friend class TRFileCopyTaskCollection;

  // How the collection is held: always seen, and kept alive too by a task that it doesn't list.
  struct Group {
    std::weak_ptr<TRFileCopyTaskCollection> seen;
    std::shared_ptr<TRFileCopyTaskCollection> kept;
  };

  // The player's volume while it is filled; null when it couldn't be opened.
  struct Destination {
    std::string mountPath;
    std::shared_ptr<Volume> volume;
  };

  using Visitor = std::function<bool(const TRFile& node, bool isRoot)>;

  // Called by the collection that now lists the task and so owns it.
  void becomeOwned() { taskGroup_.set({taskGroup_.get().seen, nullptr}); }

  // An error in the present step.
  void fail();

  bool takeOffline();
  bool wipe();
  bool makeFileSystem();
  bool bringBack();
  bool refreshVolumeFacts();
  bool runOnDisk(const std::string& command, const std::string& firstArgument,
                 std::string_view diskArgument);

  Destination openDestination() const;
  // Flushes the volume and has what was copied read back.
  bool isOnTheMedium(const Destination& destination);
  // Hands each node that is copied to the visitor, in order, until it returns false.
  void forEachNode(const Visitor& visitor) const;
  // False when the program is ending.
  bool copyNode(const TRFile& node, bool isRoot, const Destination& destination);
  void copyFile(const TRFile& file, const Destination& destination);

  Atomic<bool> error_{false};
  Atomic<std::shared_ptr<TRPlayer>> player_;
  Atomic<std::shared_ptr<TRFileList>> files_;
  std::atomic<std::int64_t> totalSize_{0};
  std::atomic<std::int64_t> currentSize_{0};
  std::atomic<std::int64_t> currentProgress_{0};
  Atomic<std::shared_ptr<void>> authRef_;
  Atomic<Group> taskGroup_;
  TaskRecord record_;
  std::shared_ptr<Volume> volume_;  // that is being filled, or has been
};

}  // namespace fillstation
