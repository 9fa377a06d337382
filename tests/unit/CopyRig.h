#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <deque>
#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "TRFileCopyTask.h"
#include "TRFileCopyTaskCollection.h"
#include "TestFileManager.h"
#include "TestPlatform.h"
#include "UsbUtil.h"

namespace fillstation::test {

using Lines = std::vector<std::string>;

template <class... Text>
Lines lines(const Text&... text) {
  return Lines{text...};
}

inline Lines operator+(Lines left, const Lines& right) {
  left.insert(left.end(), right.begin(), right.end());
  return left;
}

// The receiver of a run's reports: the calls, and their threads.
struct Reports {
  using Any = std::shared_ptr<void>;

  std::vector<std::int64_t> progress;  // the context collection's figure at each progress report
  std::vector<Any> resultContexts;
  std::vector<std::thread::id> threads;
  std::function<void()> onProgress = [] {};
  std::function<void()> onResult = [] {};

  static void updateProgress(const Any& receiver, const Any& context) {
    auto& self = *std::static_pointer_cast<Reports>(receiver);
    self.threads.push_back(std::this_thread::get_id());
    self.progress.push_back(
        std::static_pointer_cast<TRFileCopyTaskCollection>(context)->progress().value());
    self.onProgress();
  }
  static void onCopyResult(const Any& receiver, const Any& context) {
    auto& self = *std::static_pointer_cast<Reports>(receiver);
    self.threads.push_back(std::this_thread::get_id());
    self.resultContexts.push_back(context);
    self.onResult();
  }
};

inline std::shared_ptr<TRFile> node(const std::string& path, const std::string& relative,
                                    std::int64_t size, bool isDirectory) {
  auto made = std::make_shared<TRFile>();
  made->setPath(path);
  made->setUrl(Url::fromPath(path, isDirectory), isDirectory);
  made->setDestRelativeUrl(Url::withString(relative));
  made->setSize(Number(size));
  made->setIsDir(isDirectory);
  return made;
}

inline std::shared_ptr<TRFile> file(const std::string& path, const std::string& relative,
                                    std::int64_t size = 1) {
  return node(path, relative, size, false);
}

inline std::shared_ptr<TRFile> folder(const std::string& path, const std::string& relative) {
  return node(path, relative, 0, true);
}

inline std::shared_ptr<TRFile> fileRoot(const std::string& path, std::int64_t size) {
  return node(path, "/", size, false);
}

inline std::shared_ptr<TRFile> folderRoot(const std::string& path, TRFileList nodes) {
  std::int64_t size = 0;
  for (const auto& each : nodes) {
    size += each->size().value();
  }
  auto made = node(path, "/", size, true);
  made->setFiles(std::make_shared<TRFileList>(std::move(nodes)));
  return made;
}

inline std::shared_ptr<TRFileList> roots(TRFileList list = {}) {
  return std::make_shared<TRFileList>(std::move(list));
}

// A test's platform with players on it. A request to a disk completes during the next pause of
// `pauses` of them, so that the number of polls is known.
class CopyTest : public ::testing::Test {
 protected:
  CopyTest() {
    files.onRequest = [this](const std::string& request) { trace.write(request); };
    platform().fileManager = &files;
    ports.log.onText = [this](const std::string& text) {
      trace.write("log " + text);
      onLog(text);
    };
    session = platform().createDiskSession();
    ports.disks.complete = [this](const TestDisks::Request& request, std::function<void()> answer) {
      trace.write(request.kind + " " + request.expected.node);
      const std::scoped_lock guard(pendingLock);
      pending.push_back({pauses, std::move(answer)});
    };
    ports.clock.onSleep = [this](std::size_t number) { onSleep(number); };
    ports.scripts.answer = [this](std::size_t number, const TestScriptRunner::Call& call) {
      trace.write("run " + call.source);
      return answerScript ? answerScript(number) : ScriptOutcome{"", {}, {}};
    };
  }

  ~CopyTest() override {
    session.reset();
    // The process keeps the last run's report targets: leave none that belong to this test.
    std::make_shared<TRFileCopyTaskCollection>(roots(), "", "")
        ->startAsyncCopyWithCallBack(nullptr, nullptr, nullptr, nullptr);
    ports.end();
    ports.workers.join();
  }

  void onSleep(std::size_t number) {
    const std::int64_t duration = ports.clock.sleeps().at(number - 1);
    trace.write(duration == 1'000'000 ? "pause" : "pause of " + std::to_string(duration));
    if (atPause) {
      atPause(number);
    }
    if (clockEnded) {
      return;
    }
    const std::scoped_lock guard(pendingLock);
    for (auto& request : pending) {
      if (--request.first == 0) {
        ports.mainThread.post(request.second);
      }
    }
    std::erase_if(pending, [](const auto& request) { return request.first == 0; });
  }

  void endClock() {
    clockEnded = true;
    ports.clock.end();
  }

  // A mounted player with a disk below it that is at `mountPath` at each look.
  std::shared_ptr<TRPlayer> addDisk(const std::string& name, const std::string& mountPath,
                                    std::int32_t handle = 0) {
    const auto disk = std::make_shared<TestDisk>();
    disk->describe = [this, mountPath](std::size_t look) -> std::optional<DiskDescription> {
      trace.write("look");
      const bool found = look >= foundAtLook;
      return describedAs(found ? std::optional<std::string>("PLAYER") : std::nullopt,
                         Url::fromPath(mountPath, true).absoluteString());
    };
    ports.disks.byName[name] = disk;
    auto player = std::make_shared<TRPlayer>();
    player->setDiskName("/dev/" + name);
    player->setIONumber(handle);
    player->setIsMounted(true);
    return player;
  }

  std::shared_ptr<TRFileCopyTaskCollection> collectionFor(
      const std::shared_ptr<TRFileList>& list,
      const std::vector<std::shared_ptr<TRPlayer>>& players) {
    auto made = std::make_shared<TRFileCopyTaskCollection>(list, "admin", "secret");
    for (const auto& player : players) {
      made->addPlayer(player);
    }
    return made;
  }

  // Runs the body on a separate thread; meanwhile this thread is the main thread.
  void runOnWorker(const std::function<void()>& body) {
    std::atomic<bool> done{false};
    std::thread worker([&] {
      body();
      done = true;
    });
    ports.mainThread.runUntil([&] { return done.load(); });
    worker.join();
  }

  // Starts the run, which reports to the receiver with the context, itself if none is given.
  static void start(TRFileCopyTaskCollection& collection, const std::shared_ptr<Reports>& reports,
                    const std::shared_ptr<void>& context = nullptr) {
    collection.startAsyncCopyWithCallBack(reports, Reports::onCopyResult, Reports::updateProgress,
                                          context ? context : collection.shared_from_this());
  }
  void finish(const Reports& reports) {
    ports.mainThread.runUntil([&] { return !reports.resultContexts.empty(); });
    ports.workers.join();
  }
  // A whole run, until the result was reported.
  std::shared_ptr<Reports> run(TRFileCopyTaskCollection& collection,
                               std::shared_ptr<Reports> reports = std::make_shared<Reports>()) {
    start(collection, reports);
    finish(*reports);
    return reports;
  }

  // The events after the one given.
  Lines eventsAfter(const std::string& event) const {
    const Lines all = trace.texts();
    const auto found = std::find(all.begin(), all.end(), event);
    EXPECT_NE(found, all.end());
    return found == all.end() ? Lines() : Lines(found + 1, all.end());
  }
  Lines copyEvents() const { return eventsAfter("log Beginning copyTask operation.\n"); }

  std::ptrdiff_t count(const std::string& event) const {
    const Lines all = trace.texts();
    return std::count(all.begin(), all.end(), event);
  }

  TestLog trace;  // everything that a run does to the outside, in one order
  TestFileManager files;
  std::size_t pauses = 1;       // the pause after a disk request in which it completes
  std::size_t foundAtLook = 1;  // the look from which on a volume has its name
  std::atomic<bool> clockEnded{false};
  std::function<void(std::size_t)> atPause;
  std::function<void(const std::string&)> onLog = [](const std::string&) {};
  std::function<ScriptOutcome(std::size_t)> answerScript;
  std::mutex pendingLock;
  std::deque<std::pair<std::size_t, std::function<void()>>> pending;
  TestPlatform ports;
};

}  // namespace fillstation::test
