#include "MachinePorts.h"

#include <QCoreApplication>
#include <algorithm>
#include <utility>

#include "RealSourceFiles.h"
#include "Url.h"

namespace fillstation::explore {

namespace {

class MachineDisk : public Disk {
 public:
  MachineDisk(Machine& machine, std::shared_ptr<Device> device, bool isMain)
      : machine_(machine), device_(std::move(device)), isMain_(isMain) {}
  std::optional<DiskDescription> copyDescription() override {
    auto description = machine_.describe(*device_);
    if (isMain_ && !device_->firstLook) {
      device_->firstLook = description;
    }
    return description;
  }
  const std::shared_ptr<Device>& device() const { return device_; }

 private:
  Machine& machine_;
  std::shared_ptr<Device> device_;
  const bool isMain_;
};

}  // namespace

class MachinePorts::Disks : public DiskSession {
 public:
  explicit Disks(MachinePorts& ports) : ports_(ports) {}

  std::shared_ptr<Disk> diskFromName(std::string_view name) override {
    const std::string node =
        name.starts_with("/dev/") ? std::string(name) : "/dev/" + std::string(name);
    ports_.enter(node);
    auto device = ports_.machine_.byNode(node);
    return device
               ? std::make_shared<MachineDisk>(ports_.machine_, std::move(device), ports_.isMain())
               : nullptr;
  }
  void mount(std::shared_ptr<Disk> disk, const DiskIdentity& expected,
             Completion completion) override {
    ask(&Machine::mount, "mount", std::move(disk), expected, std::move(completion));
  }
  void unmount(std::shared_ptr<Disk> disk, const DiskIdentity& expected,
               Completion completion) override {
    ask(&Machine::unmount, "unmount", std::move(disk), expected, std::move(completion));
  }
  void eject(std::shared_ptr<Disk> disk, const DiskIdentity& expected,
             Completion completion) override {
    ask(&Machine::eject, "eject", std::move(disk), expected, std::move(completion));
  }

 private:
  using Work = std::optional<Dissenter> (Machine::*)(Device&, const DiskIdentity&);

  void ask(Work work, const std::string& what, std::shared_ptr<Disk> disk,
           const DiskIdentity& expected, Completion completion) {
    if (ports_.isMain() || introduced().late) {
      ports_.machine_.noteBeginning(what + " of " + expected.node);
    }
    const auto ours = std::dynamic_pointer_cast<MachineDisk>(disk);
    const auto device = ours ? ours->device() : nullptr;
    ports_.addRequest({device, [&machine = ports_.machine_, work, disk, device, expected,
                                completion = std::move(completion)] {
                         const auto refused =
                             device ? (machine.*work)(*device, expected)
                                    : std::optional(Dissenter{"There is no such disk."});
                         if (completion) {
                           completion(disk, refused ? &*refused : nullptr);
                         }
                       }});
  }

  MachinePorts& ports_;
};

class MachinePorts::Scripts : public ScriptRunner {
 public:
  explicit Scripts(MachinePorts& ports) : ports_(ports) {}
  ScriptOutcome run(std::string_view source, const DiskIdentity& target) override {
    ports_.machine_.noteBeginning("a command for " + target.node);
    ports_.turns_.stopHere();
    return ports_.machine_.runScript(source, target);
  }

 private:
  MachinePorts& ports_;
};

// The audio of the machine, and its players' volumes.
class MachinePorts::Files : public test::RealSourceFiles {
 public:
  Files(MachinePorts& ports, FileManager& real) : RealSourceFiles(real), ports_(ports) {}

  std::shared_ptr<Volume> openVolume(const std::string& mountPath,
                                     const DiskIdentity& owner) override {
    ports_.turns_.stopHere();
    auto device = ports_.machine_.open(mountPath, owner);
    return device ? std::make_shared<Opened>(ports_, std::move(device), mountPath) : nullptr;
  }

 private:
  class Opened : public Volume {
   public:
    Opened(MachinePorts& ports, std::shared_ptr<Device> device, std::string mountPath)
        : ports_(ports), device_(std::move(device)), mountPath_(std::move(mountPath)) {}

    bool createDirectory(const std::string& destination) override {
      return create(destination, "");
    }
    bool copyItem(const std::string& source, const std::string& destination) override {
      return create(destination, source);
    }
    bool flush() override {
      ports_.machine_.noteBeginning("a flush");
      ports_.turns_.stopHere();
      return ports_.machine_.flush(*device_);
    }
    bool readBack(const CopiedItems& /*items*/) override {
      ports_.machine_.noteBeginning("the reading back");
      ports_.turns_.stopHere();
      return ports_.machine_.readBack(*device_);
    }

   private:
    bool create(const std::string& destination, const std::string& source) {
      ports_.machine_.noteBeginning(destination);
      ports_.turns_.stopHere();
      if (!destination.starts_with(mountPath_ + "/")) {
        return false;
      }
      std::string path = destination.substr(mountPath_.size() + 1);
      while (path.ends_with('/')) {
        path.pop_back();
      }
      return ports_.machine_.create(*device_, path, source);
    }

    MachinePorts& ports_;
    std::shared_ptr<Device> device_;
    std::string mountPath_;
  };

  MachinePorts& ports_;
};

class MachinePorts::MainLoop : public MainThread {
 public:
  explicit MainLoop(MachinePorts& ports) : ports_(ports) {}
  bool runAndWait(const std::function<void()>& callable) override {
    if (ports_.isMain()) {
      callable();
      return true;
    }
    return ports_.turns_.handOver(callable);
  }
  void runPending() override { QCoreApplication::processEvents(); }

 private:
  MachinePorts& ports_;
};

class MachinePorts::Pauses : public Clock {
 public:
  explicit Pauses(MachinePorts& ports) : ports_(ports) {}
  bool sleep(std::chrono::microseconds /*duration*/) override {
    if (!ports_.isMain()) {
      return ports_.turns_.stopHere();
    }
    if (ports_.onPause && !ports_.stopped_) {
      ports_.onPause();
    }
    return !ports_.stopped_;
  }

 private:
  MachinePorts& ports_;
};

class MachinePorts::Threads : public Workers {
 public:
  explicit Threads(LockStep& turns) : turns_(turns) {}
  void spawn(std::function<void()> body) override {
    turns_.expectCoordinator();
    threads_.emplace_back([&turns = turns_, body = std::move(body)]() mutable {
      turns.coordinatorBegins();
      body();
      body = nullptr;
      turns.coordinatorEnds();
    });
  }
  bool stopping() const override { return stopping_.load(); }
  void stop() { stopping_.store(true); }
  void join() {
    for (auto& thread : std::exchange(threads_, {})) {
      thread.join();
    }
  }

 private:
  LockStep& turns_;
  std::vector<std::thread> threads_;
  std::atomic<bool> stopping_ = false;
};

class MachinePorts::Log : public SystemLog {
 public:
  explicit Log(MachinePorts& ports) : ports_(ports) {}
  void write(std::string_view text) override {
    if (ports_.isMain()) {
      ports_.onLog(std::string(text));
    } else if (text == "done\n") {
      ports_.turns_.leave();
    }
  }

 private:
  MachinePorts& ports_;
};

// The bus by hand, which tells when a device has been dealt with.
class MachinePorts::Bus : public test::TestUsbBus {
 public:
  explicit Bus(MachinePorts& machine) : TestUsbBus(machine.queue_), ports_(machine) {}

  std::shared_ptr<UsbDeviceIterator> watchAttach(Notification notification) override {
    return TestUsbBus::watchAttach(observed(std::move(notification)));
  }
  std::shared_ptr<UsbDeviceIterator> watchDetach(Notification notification) override {
    return TestUsbBus::watchDetach(observed(std::move(notification)));
  }
  // In the order of the events.
  std::deque<Told> events;

 private:
  Notification observed(Notification notification) {
    return [this, notification = std::move(notification)](UsbDeviceIterator& devices) {
      const Told told = events.front();
      events.pop_front();
      notification(devices);
      if (!ports_.stopped_) {
        ports_.onTold(told);
      }
      if (!told.inserted) {
        ports_.machine_.forget(told.device);
      }
    };
  }

  MachinePorts& ports_;
};

MachinePorts::MachinePorts(Machine& machine, FileManager& files)
    : machine_(machine),
      bus_(std::make_unique<Bus>(*this)),
      scripts_(std::make_unique<Scripts>(*this)),
      files_(std::make_unique<Files>(*this, files)),
      mainLoop_(std::make_unique<MainLoop>(*this)),
      pauses_(std::make_unique<Pauses>(*this)),
      threads_(std::make_unique<Threads>(turns_)),
      log_(std::make_unique<Log>(*this)) {
  Platform installed;
  installed.usbBus = bus_.get();
  installed.createDiskSession = [this] { return std::make_shared<Disks>(*this); };
  installed.scriptRunner = scripts_.get();
  installed.fileManager = files_.get();
  installed.mainThread = mainLoop_.get();
  installed.clock = pauses_.get();
  installed.workers = threads_.get();
  installed.systemLog = log_.get();
  installed.workspace = &workspace_;
  platform() = installed;
}

MachinePorts::~MachinePorts() { end(); }

// A request begins when its disk is looked for: what a program does that ends in between counts as
// begun before.
void MachinePorts::enter(const std::string& node) {
  if (isMain()) {
    return;
  }
  Worker& self = introduced();
  self.late = threads_->stopping();
  if (std::exchange(self.known, true)) {
    turns_.stopHere();
  } else {
    turns_.introduce(node);
  }
}

MachinePorts::Worker& MachinePorts::introduced() {
  thread_local Worker self;
  return self;
}

void MachinePorts::addRequest(PendingRequest request) {
  const std::scoped_lock guard(requestsLock_);
  requests_.push_back(std::move(request));
}

void MachinePorts::plug(const std::shared_ptr<Device>& device, bool isThereAlready) {
  auto stick = std::make_shared<test::TestUsbDevice>();
  stick->nameText = device->product;
  stick->handleValue = device->handle;
  stick->search = [device](std::size_t number) {
    return number > device->searchesInVain ? std::optional(device->node.substr(5)) : std::nullopt;
  };
  sticks_[device] = stick;
  bus_->ports[device->handle] = "1-" + std::to_string(device->handle & 0x7FU);
  if (!isThereAlready) {
    bus_->events.push_back({device, true});
  }
  bus_->plug(stick);
}

void MachinePorts::unplug(const std::shared_ptr<Device>& device) {
  machine_.detach(device);
  bus_->events.push_back({device, false});
  bus_->unplug(sticks_.at(device));
  sticks_.erase(device);
}

std::vector<std::shared_ptr<Device>> MachinePorts::waitingRequests() const {
  const std::scoped_lock guard(requestsLock_);
  std::vector<std::shared_ptr<Device>> all;
  for (const auto& request : requests_) {
    if (std::find(all.begin(), all.end(), request.device) == all.end()) {
      all.push_back(request.device);
    }
  }
  return all;
}

void MachinePorts::answerNext(const std::shared_ptr<Device>& device) {
  std::function<void()> answer;
  {
    const std::scoped_lock guard(requestsLock_);
    const auto found = std::find_if(requests_.begin(), requests_.end(),
                                    [&](const auto& request) { return request.device == device; });
    answer = std::move(found->answer);
    requests_.erase(found);
  }
  answer();
}

void MachinePorts::settle() {
  QCoreApplication::processEvents();
  while (queue_.runNext()) {
    QCoreApplication::processEvents();
  }
}

void MachinePorts::stop() {
  stopped_ = true;
  threads_->stop();
  turns_.end();
}

void MachinePorts::end() {
  stop();
  threads_->join();
}

}  // namespace fillstation::explore
