#pragma once

#include <cstddef>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "Atomic.h"
#include "Number.h"
#include "TRFile.h"
#include "TRPlayer.h"

namespace fillstation {

class TRFileCopyTask;

using TRFileCopyTaskList = std::vector<std::shared_ptr<TRFileCopyTask>>;

// One run: a job per player, all in parallel; their average progress and the final result are
// reported on the main thread. Made and filled on the main thread, started once, always held by
// std::shared_ptr; it lives as long as it or one of its tasks is held. The report targets belong to
// the process, so only one run can be in progress: a second start takes over the reports of the
// first. The targets live until they are replaced or the process ends, and are copied, used and
// released on the main thread only. Any thread may read and set every property.
class TRFileCopyTaskCollection : public std::enable_shared_from_this<TRFileCopyTaskCollection> {
 public:
  // One of the two reports, called with the receiver and the context object of the start. An empty
  // one isn't called.
  using Report = std::function<void(const std::shared_ptr<void>& receiver,
                                    const std::shared_ptr<void>& context)>;

  // Uses the list object that is passed in; no tasks, no progress yet.
  TRFileCopyTaskCollection(std::shared_ptr<TRFileList> files, std::string userName,
                           std::string userPass);

  TRFileCopyTaskCollection(const TRFileCopyTaskCollection&) = delete;
  TRFileCopyTaskCollection& operator=(const TRFileCopyTaskCollection&) = delete;

  // Appends a task for the player, even if it already has one. Main thread.
  void addPlayer(const std::shared_ptr<TRPlayer>& player);

  // Stores the report targets and starts the run on a new thread; returns at once. Main thread.
  void startAsyncCopyWithCallBack(std::shared_ptr<void> receiver, Report callBack,
                                  Report progressCallBack, std::shared_ptr<void> object);

  // The body of that thread: runs each task on a new thread, waits for all of them, then delivers
  // the result report and waits until it has returned. The argument is not used.
  void startTasks(void* argument);

  // Stores the average of the tasks' percentages, truncated, and delivers the progress report; the
  // shared lock is held until that has returned. Does nothing in a collection without tasks. The
  // tasks call it on their threads. On the main thread it would block the report that it waits for.
  void updateProgress();

  // Combined percentage, 0 to 100 in a 32-bit number; absent until the first report.
  Number progress() const { return progress_.get(); }
  void setProgress(Number value) { progress_.set(std::move(value)); }
  // The administrator's name and password, as typed.
  std::optional<std::string> userName() const { return userName_.get(); }
  void setUserName(std::optional<std::string> value) { userName_.set(std::move(value)); }
  std::optional<std::string> userPass() const { return userPass_.get(); }
  void setUserPass(std::optional<std::string> value) { userPass_.set(std::move(value)); }
  // One task per added player, in the order of the calls. Each pointer keeps its task and this
  // collection alive. A list that is set is copied; its tasks must not be null, and those whose
  // taskGroup() is this collection no longer hold it.
  TRFileCopyTaskList tasks() const;
  void setTasks(const TRFileCopyTaskList& value);
  std::shared_ptr<TRFileList> files() const { return files_.get(); }
  void setFiles(std::shared_ptr<TRFileList> value) { files_.set(std::move(value)); }

  // Lets one progress report pass at a time, for all collections.
  static std::shared_ptr<std::mutex> sharedLock();

 private:
  friend class TRFileCopyTask;

  // True when the task is one of this collection's own.
  bool lists(const TRFileCopyTask& task) const;
  Number averageProgress() const;
  void runTask(std::size_t index) const;

  Atomic<Number> progress_;
  Atomic<std::optional<std::string>> userName_;
  Atomic<std::optional<std::string>> userPass_;
  // The owned tasks, by pointers that don't hold this collection. A list never changes; it is
  // replaced.
  Atomic<std::shared_ptr<const TRFileCopyTaskList>> tasks_{
      std::make_shared<const TRFileCopyTaskList>()};
  Atomic<std::shared_ptr<TRFileList>> files_;
  const std::string runId_;  // logged for each of its players
};

}  // namespace fillstation
