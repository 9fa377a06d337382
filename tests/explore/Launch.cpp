#include "Launch.h"

#include <QCoreApplication>
#include <utility>

#include "Rules.h"

namespace fillstation::explore {

namespace {

// The name of this thread; empty for the main thread and for unknown ones.
thread_local std::string self;
// A request begins when its disk is looked up: if the program ends in between, the request counts
// as begun before.
thread_local bool isLate = false;

}  // namespace

void LockStep::begin(std::size_t workers) {
  mainThread_.runUntil([&] { return ended_ || waiting().size() == workers; });
}

std::set<std::string> LockStep::waiting() {
  const std::scoped_lock guard(lock_);
  std::set<std::string> names;
  for (const auto& [name, waits] : waits_) {
    if (waits && name != kResult) {
      names.insert(name);
    }
  }
  return names;
}

bool LockStep::isWaiting(const std::string& name) {
  const std::scoped_lock guard(lock_);
  return waits_.contains(name) && waits_[name];
}

void LockStep::turn(const std::string& name) {
  {
    const std::scoped_lock guard(lock_);
    waits_.at(name) = false;
    changed_.notify_all();
  }
  mainThread_.runUntil([&] {
    const std::scoped_lock guard(lock_);
    return ended_ || !waits_.contains(name) || waits_[name];
  });
}

bool LockStep::isResultDue() {
  {
    const std::scoped_lock guard(lock_);
    if (ended_ || waits_.size() > waits_.count(kResult)) {
      return false;
    }
  }
  mainThread_.runUntil([this] { return isWaiting(kResult); });
  return true;
}

void LockStep::end() {
  const std::scoped_lock guard(lock_);
  ended_ = true;
  changed_.notify_all();
}

void LockStep::stopHere(const std::string& name) {
  if (self.empty()) {
    self = name;
  }
  std::unique_lock guard(lock_);
  if (self.empty() || ended_) {
    return;
  }
  waits_[self] = true;
  mainThread_.post([] {});  // wakes it
  changed_.wait(guard, [this] { return ended_ || !waits_[self]; });
}

bool LockStep::isNamed() { return !self.empty(); }

void LockStep::leave() {
  const std::scoped_lock guard(lock_);
  waits_.erase(self);
  self.clear();
  mainThread_.post([] {});
}

// A player's volume, opened by the program.
class Launch::Opened : public Volume {
 public:
  Opened(Launch& launch, std::shared_ptr<Device> device, std::string mountPath)
      : launch_(launch), device_(std::move(device)), mountPath_(std::move(mountPath)) {}

  bool createDirectory(const std::string& destination) override { return create(destination, ""); }
  bool copyItem(const std::string& source, const std::string& destination) override {
    return create(destination, source);
  }
  bool flush() override {
    begin("a flush");
    return launch_.machine_.flush(*device_);
  }
  bool readBack(const CopiedItems& /*items*/) override {
    begin("the reading back");
    return launch_.machine_.readBack(*device_);
  }

 private:
  void begin(const std::string& what) {
    launch_.machine_.noteBeginning(what);
    launch_.turns.stopHere();
  }

  bool create(const std::string& destination, const std::string& source) {
    begin(destination);
    if (!destination.starts_with(mountPath_ + "/")) {
      return false;
    }
    std::string path = destination.substr(mountPath_.size() + 1);
    while (path.ends_with('/')) {
      path.pop_back();
    }
    return launch_.machine_.create(*device_, path, source);
  }

  Launch& launch_;
  std::shared_ptr<Device> device_;
  std::string mountPath_;
};

// The coordinator is the thread without a name that hands something over.
class Launch::MainLoop : public MainThread {
 public:
  explicit MainLoop(Launch& launch) : launch_(launch) {}

  bool runAndWait(const std::function<void()>& callable) override {
    test::TestMainThread& real = launch_.platform_.mainThread;
    if (real.isHere() || LockStep::isNamed()) {
      return real.runAndWait(callable);
    }
    launch_.turns.stopHere(LockStep::kResult);
    const bool done = real.runAndWait(callable);
    launch_.turns.leave();
    return done;
  }
  void post(std::function<void()> callable) override {
    launch_.platform_.mainThread.post(std::move(callable));
  }
  void runPending() override { QCoreApplication::processEvents(); }

 private:
  Launch& launch_;
};

Launch::Launch(Machine& machine) : machine_(machine), mainLoop_(std::make_unique<MainLoop>(*this)) {
  platform().usbBus = &bus_;
  platform().fileManager = &files_;
  platform().mainThread = mainLoop_.get();
  addAudio(files_);
  files_.open = [this](const std::string& mountPath,
                       const DiskIdentity& owner) -> std::shared_ptr<Volume> {
    turns.stopHere();
    auto device = machine_.open(mountPath, owner);
    return device ? std::make_shared<Opened>(*this, std::move(device), mountPath) : nullptr;
  };
  platform_.scripts.answer = [this](std::size_t /*number*/, const auto& call) {
    machine_.noteBeginning("a command for " + call.target.node);
    turns.stopHere();
    return machine_.runScript(call);
  };
  platform_.clock.onSleep = [this](std::size_t /*number*/) {
    if (!platform_.mainThread.isHere()) {
      turns.stopHere();
    } else if (onPause && !stopped_) {
      onPause();
    }
  };
  platform_.log.onText = [this](const std::string& text) {
    if (platform_.mainThread.isHere()) {
      onLog(text);
    } else if (text == "done\n") {
      turns.leave();
    }
  };
  hookDisks();
  hookBus();
}

void Launch::hookDisks() {
  auto& disks = platform_.disks;
  disks.onName = [this](const std::string& name) {
    if (!platform_.mainThread.isHere()) {
      isLate = platform_.workers.stopping();
      turns.stopHere("/dev/" + name);
    }
  };
  disks.complete = [this](const auto& request, std::function<void()> answer) {
    if (platform_.mainThread.isHere() || isLate) {
      machine_.noteBeginning(request.kind + " of " + request.expected.node);
    }
    const std::scoped_lock guard(requestsLock_);
    requests_.push_back({request.disk, std::move(answer)});
  };
  disks.carryOut = [this](const auto& request) { return machine_.carryOut(request); };
}

void Launch::hookBus() {
  bus_.onHandled = [this](const test::TestUsbDevice& stick, bool inserted) {
    const auto device = machine_.of(stick);
    if (!stopped_) {
      onTold(device, inserted);
    }
    if (!inserted) {
      const std::scoped_lock guard(platform_.disks.lock);
      platform_.disks.byName.erase(device->node.substr(5));
      machine_.forget(device);
    }
  };
}

void Launch::plug(const std::shared_ptr<Device>& device) {
  device->stick = std::make_shared<test::TestUsbDevice>();
  device->stick->nameText = device->medium->product;
  device->stick->handleValue = device->handle;
  device->stick->search = [vain = device->searchesInVain,
                           name = device->node.substr(5)](std::size_t number) {
    return number > vain ? std::optional(name) : std::nullopt;
  };
  bus_.places[device->handle].port = "1-" + std::to_string(device->handle & 0x7FU);
  {
    const std::scoped_lock guard(platform_.disks.lock);
    platform_.disks.byName[device->node.substr(5)] = device->disk;
  }
  bus_.plug(device->stick);
}

void Launch::unplug(const std::shared_ptr<Device>& device) {
  machine_.detach(*device);
  bus_.unplug(device->stick);
}

void Launch::answerOne(const std::function<std::size_t(std::size_t)>& choose) {
  std::function<void()> answer;
  {
    const std::scoped_lock guard(requestsLock_);
    std::set<std::shared_ptr<Disk>> disks;
    std::vector<std::size_t> oldest;  // of each disk
    for (std::size_t at = 0; at < requests_.size(); ++at) {
      if (disks.insert(requests_[at].disk).second) {
        oldest.push_back(at);
      }
    }
    if (oldest.empty()) {
      return;
    }
    const auto chosen = requests_.begin() + static_cast<int>(oldest[choose(oldest.size())]);
    answer = std::move(chosen->answer);
    requests_.erase(chosen);
  }
  answer();
}

void Launch::settle() {
  QCoreApplication::processEvents();
  while (platform_.mainThread.runNext()) {
    QCoreApplication::processEvents();
  }
}

void Launch::deliverResult() {
  turns.turn(LockStep::kResult);
  platform_.workers.join();
}

void Launch::stop() {
  stopped_ = true;
  platform_.end();
  turns.end();
}

void Launch::end() {
  stop();
  platform_.workers.join();
}

}  // namespace fillstation::explore
