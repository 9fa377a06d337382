#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <set>
#include <string>
#include <thread>
#include <vector>

#include "TestPlatform.h"
#include "TestUsbBus.h"

namespace fillstation::explore {

// The contents of a medium. A plain value; paths are below the volume's root.
struct Medium {
  int number = 0;
  std::string label;
  std::int64_t size = 0;
  std::string vendor = "ACTIONS";
  std::string product = "HS USB FlashDisk";  // the product name of its device
  bool formatted = true;
  std::map<std::string, std::string> written;    // in playing order: path, source
  std::map<std::string, std::string> unwritten;  // data that is only in the system's memory
};

// The faults of a device from now on. One that lies reports success and drops the end of the data.
enum class Trouble { kWipe, kFormat, kMount, kUnmount, kCopy, kFlush, kLies, kNone };

// One attach of a medium.
struct Device {
  std::shared_ptr<Medium> medium;
  std::string node;  // "/dev/sdb"
  std::uint32_t handle = 0;
  bool present = true;
  bool mounted = false;
  bool known = true;
  bool ejected = false;
  Trouble trouble = Trouble::kNone;
  std::size_t searchesInVain = 0;  // for the disk
  // The result of the window's first look at the disk.
  std::optional<DiskDescription> firstLook;
  std::shared_ptr<test::TestDisk> disk;
  std::shared_ptr<test::TestUsbDevice> stick;  // of this launch

  std::string mountPath() const;
};

// The machine's answers to one task of a run. A plain value.
struct TaskFacts {
  bool openAsked = false;  // so its format has succeeded
  bool opened = false;
  bool complete = false;  // when it was read back, the medium held the whole file set
};

// The devices on the bus and their contents, beyond one launch of the program. Checks every change
// of a medium by the medium's identity, and records forbidden ones. Made on the main thread; any
// thread.
class Machine {
 public:
  static constexpr const char* kUser = "admin";
  static constexpr const char* kPassword = "secret";

  // Plugs a medium in: the lowest free node, the next handle.
  std::shared_ptr<Device> attach(std::shared_ptr<Medium> medium, bool mounted);
  void detach(Device& device);
  // Its leaving has been handled: the node is free.
  void forget(const std::shared_ptr<Device>& device);
  // The program has ended: departures are no longer handled.
  void forgetLeft();
  std::vector<std::shared_ptr<Device>> present() const;
  // The device that has this stick, also while its leaving isn't handled yet.
  std::shared_ptr<Device> of(const test::TestUsbDevice& stick) const;

  // A request, when it is carried out: why it is refused.
  std::optional<Dissenter> carryOut(const test::TestDisks::Request& request);
  std::optional<Dissenter> mount(Device& device);
  ScriptOutcome runScript(const test::TestScriptRunner::Call& call);
  // The device whose volume is mounted there, null if it isn't the owner's.
  std::shared_ptr<Device> open(const std::string& mountPath, const DiskIdentity& owner);
  bool create(Device& device, const std::string& path, const std::string& source);
  bool flush(Device& device);
  bool readBack(Device& device);

  // A run begins with the media behind these nodes, and the contents that each must have in the
  // end; nothing else may change from now on. Replaces the last run.
  void beginRun(const std::vector<std::shared_ptr<Device>>& devices,
                std::map<std::string, std::string> content, bool completable);
  const TaskFacts& factsOf(const std::string& node) { return facts_[node]; }
  // While the program is ending nothing may begin.
  void setEnding(bool ending);
  // Called before everything that begins something.
  void noteBeginning(const std::string& what);

  // The forbidden events that have happened.
  std::vector<std::string> takeViolations();

 private:
  DiskDescription describe(const Device& device) const;
  std::optional<Dissenter> unmount(Device& device);
  std::shared_ptr<Device> byNode(const std::string& node) const;
  std::shared_ptr<Device> find(const DiskIdentity& wanted) const;
  void noteChange(const Device& device, const std::string& what);
  std::string freeNode() const;

  const std::thread::id main_ = std::this_thread::get_id();
  mutable std::recursive_mutex lock_;
  std::vector<std::shared_ptr<Device>> devices_;  // also those whose departure isn't handled yet
  std::uint32_t lastHandle_ = 0x10001;
  std::set<int> mayChange_;
  std::map<std::string, std::string> content_;
  bool completable_ = true;
  std::map<std::string, TaskFacts> facts_;
  std::vector<std::string> violations_;
  bool ending_ = false;
};

}  // namespace fillstation::explore
