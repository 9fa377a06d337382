#pragma once

#include <atomic>
#include <deque>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "LockStep.h"
#include "Machine.h"
#include "Platform.h"
#include "TestPlatform.h"
#include "TestUsbBus.h"

namespace fillstation::explore {

// A request that nobody has answered yet.
struct PendingRequest {
  std::shared_ptr<Device> device;  // null: there was no disk
  std::function<void()> answer;    // carries it out and completes it
};

// What the model is told of an attach or a leaving that the window was told of. A plain value.
struct Told {
  std::shared_ptr<Device> device;
  bool inserted = true;
};

// The ports of one launch of the program over a machine that outlives it. Nothing happens by
// itself: requests wait until answerNext(), workers for their turn, and the main thread's queue for
// settle(). Main thread, but for what the ports say.
class MachinePorts {
 public:
  MachinePorts(Machine& machine, FileManager& files);
  ~MachinePorts();
  MachinePorts(const MachinePorts&) = delete;
  MachinePorts& operator=(const MachinePorts&) = delete;

  // A device is plugged in, or pulled out. One that is there before the window asks is told of by
  // the bus's first walk.
  void plug(const std::shared_ptr<Device>& device, bool isThereAlready = false);
  void unplug(const std::shared_ptr<Device>& device);

  // The devices with requests that wait; answers the oldest one of a device.
  std::vector<std::shared_ptr<Device>> waitingRequests() const;
  void answerNext(const std::shared_ptr<Device>& device);

  // Works off what is queued for the main thread.
  void settle();
  // The program is ending: its threads go on freely. end() waits for them, outside of whatever they
  // may wait for.
  void stop();
  void end();

  LockStep& turns() { return turns_; }
  // Called in each pause of the main thread, nested in whatever pauses.
  std::function<void()> onPause;
  // Called when the window has been told of a device.
  std::function<void(const Told&)> onTold;
  // Called with each text of the log, on the main thread only.
  std::function<void(const std::string&)> onLog;

 private:
  class Disks;
  class Scripts;
  class Files;
  class MainLoop;
  class Pauses;
  class Threads;
  class Log;
  class Bus;

  // A worker comes with the node of its player.
  void enter(const std::string& node);
  struct Worker {
    bool known = false;
    bool late = false;  // the program was ending when it looked for a disk
  };
  static Worker& introduced();
  void addRequest(PendingRequest request);
  bool isMain() const { return std::this_thread::get_id() == main_; }

  const std::thread::id main_ = std::this_thread::get_id();
  Machine& machine_;
  LockStep turns_;
  test::TestMainThread queue_;
  test::TestWorkspace workspace_;
  std::map<std::shared_ptr<Device>, std::shared_ptr<test::TestUsbDevice>> sticks_;
  mutable std::mutex requestsLock_;
  std::deque<PendingRequest> requests_;
  std::unique_ptr<Bus> bus_;
  std::unique_ptr<Scripts> scripts_;
  std::unique_ptr<Files> files_;
  std::unique_ptr<MainLoop> mainLoop_;
  std::unique_ptr<Pauses> pauses_;
  std::unique_ptr<Threads> threads_;
  std::unique_ptr<Log> log_;
  bool stopped_ = false;
};

}  // namespace fillstation::explore
