#include "TestPlatform.h"

#include <array>
#include <utility>

namespace fillstation::test {

bool TestMainThread::runAndWait(const std::function<void()>& callable) {
  if (isHere()) {
    callable();
    return true;
  }
  struct State {
    std::mutex lock;
    std::condition_variable done;
    bool begun = false;
    bool finished = false;
    bool withdrawn = false;
  };
  const auto state = std::make_shared<State>();
  post([state, &callable] {
    {
      const std::scoped_lock guard(state->lock);
      if (state->withdrawn) {
        return;
      }
      state->begun = true;
    }
    callable();
    const std::scoped_lock guard(state->lock);
    state->finished = true;
    state->done.notify_all();
  });
  std::unique_lock guard(state->lock);
  while (
      !state->done.wait_for(guard, std::chrono::milliseconds(5), [&] { return state->finished; })) {
    if (ended_ && !state->begun) {
      state->withdrawn = true;
      return false;
    }
  }
  return true;
}

void TestMainThread::runPending() {
  std::deque<std::function<void()>> pending;
  {
    const std::scoped_lock guard(lock_);
    pending.swap(queue_);
  }
  for (const auto& callable : pending) {
    callable();
  }
}

bool TestMainThread::runNext() {
  std::function<void()> callable;
  {
    const std::scoped_lock guard(lock_);
    if (queue_.empty()) {
      return false;
    }
    callable = std::move(queue_.front());
    queue_.pop_front();
  }
  callable();
  return true;
}

void TestMainThread::post(std::function<void()> callable) {
  const std::scoped_lock guard(lock_);
  queue_.push_back(std::move(callable));
  changed_.notify_all();
}

void TestMainThread::awaitQueued() {
  std::unique_lock guard(lock_);
  changed_.wait(guard, [&] { return !queue_.empty(); });
}

void TestMainThread::runUntil(const std::function<bool()>& done) {
  while (!done()) {
    {
      std::unique_lock guard(lock_);
      changed_.wait_for(guard, std::chrono::milliseconds(5), [&] { return !queue_.empty(); });
    }
    runNext();
  }
}

bool TestClock::sleep(std::chrono::microseconds duration) {
  std::size_t number = 0;
  const bool ended = ended_;
  {
    const std::scoped_lock guard(lock_);
    sleeps_.push_back(duration.count());
    number = sleeps_.size();
  }
  if (onSleep) {
    onSleep(number);
  }
  if (ended) {
    return false;
  }
  if (!mainThread_.isHere()) {
    return mainThread_.runAndWait([] {});
  }
  mainThread_.runPending();
  return true;
}

std::vector<std::int64_t> TestClock::sleeps() const {
  const std::scoped_lock guard(lock_);
  return sleeps_;
}

void TestLog::writeWith(std::string_view text, const LogFields& fields) {
  {
    const std::scoped_lock guard(lock_);
    texts_.emplace_back(text);
    fields_.push_back(fields);
  }
  if (onText) {
    onText(std::string(text));
  }
}

std::vector<std::string> TestLog::texts() const {
  const std::scoped_lock guard(lock_);
  return texts_;
}

std::vector<std::map<std::string, std::string>> TestLog::fieldsOf(const std::string& text) const {
  const std::scoped_lock guard(lock_);
  std::vector<std::map<std::string, std::string>> all;
  for (std::size_t at = 0; at < texts_.size(); ++at) {
    if (texts_[at] == text) {
      all.emplace_back(fields_[at].begin(), fields_[at].end());
    }
  }
  return all;
}

void TestLog::clear() {
  const std::scoped_lock guard(lock_);
  fields_.clear();
  texts_ = {};  // and the memory of the texts
}

void TestWorkers::spawn(std::function<void()> body) {
  const std::scoped_lock guard(lock_);
  ++spawned_;
  threads_.emplace_back(std::move(body));
}

void TestWorkers::join() {
  std::vector<std::thread> threads;
  {
    const std::scoped_lock guard(lock_);
    threads.swap(threads_);
  }
  for (auto& thread : threads) {
    thread.join();
  }
}

std::optional<DiskDescription> TestDisk::copyDescription() {
  const std::size_t look = ++looks_;
  return describe ? describe(look) : std::optional<DiskDescription>(DiskDescription{});
}

std::vector<std::string> TestDisks::kinds() const {
  const std::scoped_lock guard(lock);
  std::vector<std::string> all;
  for (const auto& request : requests) {
    all.push_back(request.kind);
  }
  return all;
}

std::shared_ptr<Disk> TestDiskSession::diskFromName(std::string_view name) {
  constexpr std::string_view kFolder = "/dev/";
  const std::string bare(name.starts_with(kFolder) ? name.substr(kFolder.size()) : name);
  if (disks_.onName) {
    disks_.onName(bare);
  }
  const std::scoped_lock guard(disks_.lock);
  disks_.namesAsked.emplace_back(name);
  const auto found = disks_.byName.find(bare);
  return found == disks_.byName.end() ? nullptr : found->second;
}

void TestDiskSession::request(DiskRequest what, std::shared_ptr<Disk> disk,
                              const DiskIdentity& expected, Completion completion) {
  constexpr std::array kKinds{"mount", "unmount", "eject"};
  const TestDisks::Request asked{kKinds.at(static_cast<std::size_t>(what)), std::move(disk),
                                 expected};
  {
    const std::scoped_lock guard(disks_.lock);
    disks_.requests.push_back(asked);
  }
  auto answer = [asked, completion = std::move(completion), carryOut = disks_.carryOut,
                 refusal = disks_.refuse ? disks_.refuse(asked) : std::nullopt]() mutable {
    if (carryOut) {
      refusal = carryOut(asked);
    }
    if (completion) {
      completion(asked.disk, refusal ? &*refusal : nullptr);
    }
  };
  if (disks_.complete) {
    disks_.complete(asked, std::move(answer));
  } else {
    mainThread_.post(std::move(answer));
  }
}

ScriptOutcome TestScriptRunner::run(std::string_view source, const DiskIdentity& target) {
  Call call{std::string(source), target};
  std::size_t number = 0;
  {
    const std::scoped_lock guard(lock_);
    calls_.push_back(call);
    number = calls_.size();
  }
  return answer ? answer(number, call) : ScriptOutcome{"", {}, {}};
}

std::vector<TestScriptRunner::Call> TestScriptRunner::calls() const {
  const std::scoped_lock guard(lock_);
  return calls_;
}

TestPlatform::TestPlatform() {
  Platform ports;
  ports.createDiskSession = [this] {
    {
      const std::scoped_lock guard(disks.lock);
      ++disks.sessionsOpened;
    }
    return std::make_shared<TestDiskSession>(disks, mainThread);
  };
  ports.scriptRunner = &scripts;
  ports.mainThread = &mainThread;
  ports.clock = &clock;
  ports.workers = &workers;
  ports.systemLog = &log;
  ports.workspace = &workspace;
  ports.endProgram = [this] { end(); };
  platform() = ports;
}

TestPlatform::~TestPlatform() {
  end();
  workers.join();
  platform() = Platform();
}

void TestPlatform::end() {
  workers.stop();
  clock.end();
  mainThread.end();
}

DiskDescription describedAs(std::optional<std::string> volumeName,
                            std::optional<std::string> volumePathText,
                            std::optional<std::string> vendor, std::optional<std::int64_t> size) {
  DiskDescription description;
  description.deviceVendor = std::move(vendor);
  description.mediaSize = size;
  description.volumeName = std::move(volumeName);
  description.volumePath = std::move(volumePathText);
  return description;
}

}  // namespace fillstation::test
