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

// The job of one player in a run: format it, then copy the whole file set to its new volume. Made
// on the main thread, always held by std::shared_ptr, run once by copyTask() on a worker thread,
// afterwards only read. A task that was made alone holds its collection. A collection owns the
// tasks that it lists: keep such a task by the pointer from tasks(), which keeps both alive. Any
// thread may read and set every property. When the program is ending, a task begins no further
// command, directory or file, and ends with an error.
class TRFileCopyTask : public std::enable_shared_from_this<TRFileCopyTask> {
 public:
  // Same as the other constructor without arguments.
  TRFileCopyTask();

  // Copies the list (the nodes themselves are shared) and sums the roots' sizes. Without a player
  // or a list every field stays zero or absent, the collection too.
  TRFileCopyTask(std::shared_ptr<TRPlayer> player, const std::shared_ptr<TRFileList>& files,
                 std::shared_ptr<std::mutex> sharedLock,
                 const std::shared_ptr<TRFileCopyTaskCollection>& taskGroup);

  TRFileCopyTask(const TRFileCopyTask&) = delete;
  TRFileCopyTask& operator=(const TRFileCopyTask&) = delete;

  // Runs the whole job; the outcome is error(). Worker thread only.
  void copyTask();

  // Takes the player offline, wipes and formats it, brings it back and reads its volume facts. True
  // if all of that succeeded. Waits for the player without a limit. Worker thread only.
  bool format();

  // Runs `scriptPath arguments…` as administrator and blocks until it has finished. Nothing is
  // quoted or escaped in the script text. On success returns true and sets output to the result;
  // otherwise returns false and sets errorDescription to the reason, if any. The other one stays
  // unchanged.
  bool runProcessAsAdministrator(const std::string& userName, const std::string& userPass,
                                 const std::string& scriptPath,
                                 const std::vector<std::string>& arguments,
                                 std::optional<std::string>& output,
                                 std::optional<std::string>& errorDescription);

  // The current step, for any thread; entering a step, for the task's thread only.
  Step step() const { return record_.step(); }
  void begin(Step step) { record_.begin(step); }
  // The fields for the log record of the task's end. Worker thread.
  LogFields record() const;

  // Adds processed bytes and reports; returns when the window has shown the new figure. A task with
  // nothing to copy reports 100 percent.
  void updateProgressWith(std::int64_t bytes);

  // True once anything in this task has failed.
  bool error() const { return error_.get(); }
  void setError(bool value) { error_.set(value); }
  std::shared_ptr<TRPlayer> player() const { return player_.get(); }
  void setPlayer(std::shared_ptr<TRPlayer> value) { player_.set(std::move(value)); }
  std::shared_ptr<TRFileList> files() const { return files_.get(); }
  void setFiles(std::shared_ptr<TRFileList> value) { files_.set(std::move(value)); }
  // Bytes in all, and bytes processed so far.
  std::int64_t totalSize() const { return totalSize_; }
  void setTotalSize(std::int64_t value) { totalSize_ = value; }
  std::int64_t currentSize() const { return currentSize_; }
  void setCurrentSize(std::int64_t value) { currentSize_ = value; }
  // Percent, 0 to 100, truncated.
  std::int64_t currentProgress() const { return currentProgress_; }
  void setCurrentProgress(std::int64_t value) { currentProgress_ = value; }
  // State that nothing here reads.
  std::shared_ptr<void> authRef() const { return authRef_.get(); }
  void setAuthRef(std::shared_ptr<void> value) { authRef_.set(std::move(value)); }
  // The collection that made the task, null for a task made without one.
  std::shared_ptr<TRFileCopyTaskCollection> taskGroup() const {
    return taskGroup_.get().seen.lock();
  }
  void setTaskGroup(const std::shared_ptr<TRFileCopyTaskCollection>& value);

  // The platform's file manager, assigned whenever a task is made. The lock of the last task that
  // was made with a player and a list; nothing reads it.
  static FileManager* filemgr();
  static std::shared_ptr<std::mutex> sharedLocker();

 private:
  friend class TRFileCopyTaskCollection;

  // The collection. A task that it doesn't list also keeps it alive.
  struct Group {
    std::weak_ptr<TRFileCopyTaskCollection> seen;
    std::shared_ptr<TRFileCopyTaskCollection> kept;
  };

  // The player's volume during the copy; null if it couldn't be opened.
  struct Destination {
    std::string mountPath;
    std::shared_ptr<Volume> volume;
  };

  using Visitor = std::function<bool(const TRFile& node, bool isRoot)>;

  // Called by the collection that lists the task, and so owns it, from now on.
  void becomeOwned() { taskGroup_.set({taskGroup_.get().seen, nullptr}); }

  // Marks the current step as failed.
  void fail(const Destination& destination);

  bool takeOffline();
  bool wipe();
  bool makeFileSystem();
  bool bringBack();
  bool refreshVolumeFacts();
  bool runOnDisk(const std::string& command, const std::string& firstArgument,
                 std::string_view diskArgument);

  Destination openDestination() const;
  // Flushes the volume and reads the copied files back.
  bool isOnTheMedium(const Destination& destination);
  // Passes each copied node to the visitor, in order, until it returns false.
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
};

}  // namespace fillstation
