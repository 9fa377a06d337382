#include "TRFileCopyTaskCollection.h"

#include <algorithm>
#include <cstdint>
#include <random>
#include <thread>

#include "Platform.h"
#include "ReportLine.h"
#include "TRFileCopyTask.h"

namespace fillstation {
namespace {

// The targets of the reports.
struct ReportTargets {
  std::shared_ptr<void> callbackObject;
  TRFileCopyTaskCollection::Report callbackFunc;
  TRFileCopyTaskCollection::Report updateCallbackFunc;
  std::shared_ptr<void> callBackContext;
};

[[maybe_unused]] const std::shared_ptr<void> theMainOp;

// Never destroyed: they may hold objects of the window, which must not be used at exit.
Atomic<std::shared_ptr<const ReportTargets>>& reportTargets() {
  static auto& targets = *new Atomic<std::shared_ptr<const ReportTargets>>;
  return targets;
}

// Runs one of the two reports, on the main thread. Only there are the targets copied, so that no
// other thread ever releases the last pointer to an object of the window.
void report(TRFileCopyTaskCollection::Report ReportTargets::*which) {
  const auto targets = reportTargets().get();
  if (targets && (*targets).*which) {
    ((*targets).*which)(targets->callbackObject, targets->callBackContext);
  }
}

}  // namespace

TRFileCopyTaskCollection::TRFileCopyTaskCollection(std::shared_ptr<TRFileList> files,
                                                   std::string userName, std::string userPass)
    : userName_(std::move(userName)),
      userPass_(std::move(userPass)),
      files_(std::move(files)),
      runId_(std::to_string(std::random_device{}())) {}

std::shared_ptr<std::mutex> TRFileCopyTaskCollection::sharedLock() {
  static const auto lock = std::make_shared<std::mutex>();
  return lock;
}

void TRFileCopyTaskCollection::addPlayer(const std::shared_ptr<TRPlayer>& player) {
  TRFileCopyTaskList all = *tasks_.get();
  all.push_back(
      std::make_shared<TRFileCopyTask>(player, files(), sharedLock(), shared_from_this()));
  setTasks(all);
}

TRFileCopyTaskList TRFileCopyTaskCollection::tasks() const {
  TRFileCopyTaskList handedOut;
  const auto all = tasks_.get();
  for (const auto& task : *all) {
    const auto held = std::pair(shared_from_this(), task);  // by each pointer
    handedOut.emplace_back(std::make_shared<decltype(held)>(held), task.get());
  }
  return handedOut;
}

void TRFileCopyTaskCollection::setTasks(const TRFileCopyTaskList& value) {
  TRFileCopyTaskList owned;
  for (const auto& task : value) {
    const auto group = task->taskGroup();
    if (group && group.get() != this) {
      owned.push_back(task);
    } else {
      // The pointer may come from tasks(); the task itself is stored.
      owned.push_back(task->shared_from_this());
      task->becomeOwned();
    }
  }
  tasks_.set(std::make_shared<const TRFileCopyTaskList>(std::move(owned)));
}

bool TRFileCopyTaskCollection::lists(const TRFileCopyTask& task) const {
  const auto all = tasks_.get();
  return std::any_of(all->begin(), all->end(),
                     [&task](const auto& listed) { return listed.get() == &task; });
}

void TRFileCopyTaskCollection::startAsyncCopyWithCallBack(std::shared_ptr<void> receiver,
                                                          Report callBack, Report progressCallBack,
                                                          std::shared_ptr<void> object) {
  reportTargets().set(std::make_shared<const ReportTargets>(ReportTargets{
      std::move(receiver), std::move(callBack), std::move(progressCallBack), std::move(object)}));
  platform().workers->spawn([self = shared_from_this()] { self->startTasks(nullptr); });
}

void TRFileCopyTaskCollection::startTasks(void* /*argument*/) {
  std::vector<std::thread> queue;
  const std::size_t count = tasks().size();
  for (std::size_t index = 0; index < count; ++index) {
    queue.emplace_back([this, index] { runTask(index); });
  }
  for (auto& operation : queue) {
    operation.join();
  }
  platform().mainThread->runAndWait([] { report(&ReportTargets::callbackFunc); });
}

void TRFileCopyTaskCollection::runTask(std::size_t index) const {
  logText("Beginning operation.\n");
  const auto task = tasks().at(index);
  task->copyTask();
  auto fields = task->record();
  fields.emplace_back("RUN", runId_);
  platform().systemLog->writeWith("done\n", fields);
}

void TRFileCopyTaskCollection::updateProgress() {
  if (tasks_.get()->empty()) {
    return;
  }
  static ReportLine line(*sharedLock());
  line.pass([this] {
    setProgress(averageProgress());
    report(&ReportTargets::updateCallbackFunc);
  });
}

Number TRFileCopyTaskCollection::averageProgress() const {
  const auto all = tasks_.get();
  std::uint32_t sum = 0;
  for (const auto& task : *all) {
    sum += static_cast<std::uint32_t>(task->currentProgress());
  }
  // The sum is a signed 32-bit number, the division uses unsigned numbers of the machine's width.
  const auto average = static_cast<std::size_t>(static_cast<std::int32_t>(sum)) / all->size();
  return Number(static_cast<std::int32_t>(average));
}

}  // namespace fillstation
