#pragma once

#include <atomic>
#include <condition_variable>
#include <deque>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <thread>
#include <vector>

#include "Platform.h"

namespace fillstation::test {

// In-memory ports for the unit tests of the layers above them. The thread that makes a TestPlatform
// is its main thread; answers that are asynchronous in life are queued for it here too and run in
// runUntil().

class TestMainThread : public MainThread {
 public:
  bool runAndWait(const std::function<void()>& callable) override;
  void post(std::function<void()> callable) override;
  void runPending() override;

  // Runs the callable that was queued first; false when there is none.
  bool runNext();

  // Returns when a callable is queued.
  void awaitQueued();
  // Runs queued callables, and waits for more, until the predicate, called on the main thread, is
  // true.
  void runUntil(const std::function<bool()>& done);
  // From now on hand-overs return undelivered.
  void end() { ended_ = true; }
  bool isHere() const { return std::this_thread::get_id() == main_; }

 private:
  const std::thread::id main_ = std::this_thread::get_id();
  std::mutex lock_;
  std::condition_variable changed_;
  std::deque<std::function<void()>> queue_;
  std::atomic<bool> ended_ = false;
};

// Never really sleeps. On a worker, a sleep lets the main thread run everything that was queued
// before it, so that a poll sees the results; on the main thread it is one pass over the pending
// events.
class TestClock : public Clock {
 public:
  explicit TestClock(TestMainThread& mainThread) : mainThread_(mainThread) {}
  bool sleep(std::chrono::microseconds duration) override;
  std::chrono::steady_clock::time_point now() const override {
    return std::chrono::steady_clock::time_point(passed.load());
  }

  // The fake time; sleeps don't advance it.
  std::atomic<std::chrono::microseconds> passed{};
  // All sleeps so far, in microseconds.
  std::vector<std::int64_t> sleeps() const;
  // Called at each sleep with its number, the first being 1, on the sleeping thread.
  std::function<void(std::size_t)> onSleep;
  // From now on sleeps return false.
  void end() { ended_ = true; }

 private:
  TestMainThread& mainThread_;
  mutable std::mutex lock_;
  std::vector<std::int64_t> sleeps_;
  std::atomic<bool> ended_ = false;
};

class TestLog : public SystemLog {
 public:
  void write(std::string_view text) override { writeWith(text, {}); }
  void writeWith(std::string_view text, const LogFields& fields) override;
  // Called with each text, on the thread that writes it.
  std::function<void(const std::string&)> onText;
  std::vector<std::string> texts() const;
  // The fields of each record of that text, by name.
  std::vector<std::map<std::string, std::string>> fieldsOf(const std::string& text) const;
  void clear();

 private:
  mutable std::mutex lock_;
  std::vector<std::string> texts_;
  std::vector<LogFields> fields_;  // of each text
};

// Threads are joined by end() or the destructor.
class TestWorkers : public Workers {
 public:
  ~TestWorkers() override { join(); }
  void spawn(std::function<void()> body) override;
  bool stopping() const override { return stopping_; }
  void stop() { stopping_ = true; }
  void join();
  std::size_t spawned() const { return spawned_; }

 private:
  std::mutex lock_;
  std::vector<std::thread> threads_;
  std::atomic<std::size_t> spawned_ = 0;
  std::atomic<bool> stopping_ = false;
};

// A disk that answers from a script: by default a description that never changes.
class TestDisk : public Disk {
 public:
  std::optional<DiskDescription> copyDescription() override;

  // Called with the number of the look, the first being 1.
  std::function<std::optional<DiskDescription>(std::size_t)> describe;
  std::size_t looks() const { return looks_; }

 private:
  std::atomic<std::size_t> looks_ = 0;
};

// The disks behind every session that the platform opens, and the requests to them.
struct TestDisks {
  struct Request {
    std::string kind;  // "mount", "unmount" or "eject"
    std::shared_ptr<Disk> disk;
    DiskIdentity expected;
  };

  std::map<std::string, std::shared_ptr<TestDisk>> byName;  // "sdb"
  std::vector<Request> requests;
  std::vector<std::string> namesAsked;
  std::size_t sessionsOpened = 0;
  // Called with each disk name ("sdb") before it is looked up.
  std::function<void(const std::string&)> onName;
  // The dissenter of a request's completion, none by default; the second function is called when
  // the completion runs.
  std::function<std::optional<Dissenter>(const Request&)> refuse;
  std::function<std::optional<Dissenter>(const Request&)> carryOut;
  // Called in place of queueing the completion when set: the test runs it when it likes.
  std::function<void(const Request&, std::function<void()>)> complete;
  mutable std::mutex lock;

  std::vector<std::string> kinds() const;
};

class TestDiskSession : public DiskSession {
 public:
  TestDiskSession(TestDisks& disks, TestMainThread& mainThread)
      : disks_(disks), mainThread_(mainThread) {}
  std::shared_ptr<Disk> diskFromName(std::string_view name) override;
  void request(DiskRequest what, std::shared_ptr<Disk> disk, const DiskIdentity& expected,
               Completion completion) override;

 private:
  TestDisks& disks_;
  TestMainThread& mainThread_;
};

class TestScriptRunner : public ScriptRunner {
 public:
  ScriptOutcome run(std::string_view source, const DiskIdentity& target) override;

  struct Call {
    std::string source;
    DiskIdentity target;
  };
  std::vector<Call> calls() const;
  // The outcome of a call by its number, the first being 1; success with an empty result by
  // default.
  std::function<ScriptOutcome(std::size_t, const Call&)> answer;

 private:
  mutable std::mutex lock_;
  std::vector<Call> calls_;
};

class TestWorkspace : public Workspace {
 public:
  void openUrl(const std::string& address) override { opened.push_back(address); }
  void showProgress(std::optional<double> share) override { shares.push_back(share); }
  void notify(const std::string& text, bool isBad) override {
    notifications.emplace_back(text, isBad);
  }
  std::vector<std::string> opened;
  std::vector<std::optional<double>> shares;
  std::vector<std::pair<std::string, bool>> notifications;
};

// Installs itself as the platform for its lifetime. usbBus and fileManager are left for the test to
// set.
class TestPlatform {
 public:
  TestPlatform();
  ~TestPlatform();
  TestPlatform(const TestPlatform&) = delete;
  TestPlatform& operator=(const TestPlatform&) = delete;

  // The effect of the program's end: sleeps and hand-overs return at once, nothing new begins.
  void end();

  TestMainThread mainThread;
  TestClock clock{mainThread};
  TestLog log;
  TestDisks disks;
  TestScriptRunner scripts;
  TestWorkspace workspace;
  TestWorkers workers;
};

// A description of a disk of the players' vendor with these facts; an absent one is left out.
DiskDescription describedAs(std::optional<std::string> volumeName,
                            std::optional<std::string> volumePathText,
                            std::optional<std::string> vendor = "ACTIONS",
                            std::optional<std::int64_t> size = 1024);

}  // namespace fillstation::test
