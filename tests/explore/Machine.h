#pragma once

#include <cstdint>
#include <deque>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "DiskSession.h"
#include "FileManager.h"
#include "ScriptRunner.h"

namespace fillstation::explore {

// What is on a medium. A plain value; paths are below the volume's root.
struct Medium {
  int number = 0;
  std::string label;
  std::int64_t size = 0;
  std::string vendor = "ACTIONS";
  bool formatted = true;
  std::map<std::string, std::string> written;    // what a player would play: path, source
  std::map<std::string, std::string> unwritten;  // what only the system's memory has
};

// What goes wrong with a device from now on. A plain value.
struct Troubles {
  bool wipeFails = false;
  bool formatFails = false;
  bool mountRefused = false;
  bool unmountRefused = false;
  bool copyFails = false;
  bool flushFails = false;
  bool lies = false;  // it says that it has everything and drops the last of it
};

// One attach of a medium.
struct Device {
  std::shared_ptr<Medium> medium;
  std::string product;
  std::string node;  // "/dev/sdb"
  std::uint32_t handle = 0;
  bool present = true;
  bool mounted = false;
  bool known = true;
  bool ejected = false;
  Troubles troubles;
  std::size_t searchesInVain = 0;  // for the disk
  // What the window's first look at the disk has shown.
  std::optional<DiskDescription> firstLook;
};

// What one task of a run was told by the machine. A plain value.
struct TaskFacts {
  bool openAsked = false;  // so its format has succeeded
  bool opened = false;
  bool proven = false;    // flushed and read back with success
  bool complete = false;  // the medium held the whole file set then
};

// A machine in memory: USB devices with disks, what is mounted, and the commands. It checks every
// change of a medium by the medium's identity and notes what must not happen. Any thread.
class Machine {
 public:
  static constexpr const char* kUser = "admin";
  static constexpr const char* kPassword = "secret";

  // Plugs a medium in: the lowest free node, the next handle.
  std::shared_ptr<Device> attach(std::shared_ptr<Medium> medium, std::string product, bool mounted);
  void detach(const std::shared_ptr<Device>& device);
  // Its leaving has been handled: the node is free.
  void forget(const std::shared_ptr<Device>& device);
  std::vector<std::shared_ptr<Device>> present() const;
  // The program has ended: nobody handles leavings any more.
  void forgetLeft();
  std::shared_ptr<Device> byNode(const std::string& node) const;

  DiskDescription describe(const Device& device) const;
  // Requests, when they are carried out.
  std::optional<Dissenter> mount(Device& device, const DiskIdentity& expected);
  std::optional<Dissenter> unmount(Device& device, const DiskIdentity& expected);
  std::optional<Dissenter> eject(Device& device, const DiskIdentity& expected);
  ScriptOutcome runScript(std::string_view source, const DiskIdentity& target);
  // The device whose volume is mounted there, null when it isn't that of the owner.
  std::shared_ptr<Device> open(const std::string& mountPath, const DiskIdentity& owner);
  bool create(Device& device, const std::string& path, const std::string& source);
  bool flush(Device& device);
  bool readBack(Device& device);

  static std::string mountPath(const Device& device);

  // A run begins with the media behind these nodes and what each must hold in the end; nothing else
  // may change from now on. A new run, or none, takes the place of the last.
  void beginRun(const std::vector<std::shared_ptr<Device>>& devices,
                std::map<std::string, std::string> content, bool completable);
  const TaskFacts& factsOf(const std::string& node) { return facts_[node]; }
  // The program is ending: nothing may begin.
  void beginEnding();
  void beginAnew();
  // Called by ports before whatever begins something.
  void noteBeginning(const std::string& what);

  // What has happened and must not.
  std::vector<std::string> takeViolations();

 private:
  std::shared_ptr<Device> find(const DiskIdentity& wanted) const;
  bool is(const Device& device, const DiskIdentity& expected) const;
  void noteChange(const Device& device, const std::string& what);
  std::string freeNode() const;

  mutable std::recursive_mutex lock_;
  std::vector<std::shared_ptr<Device>> devices_;  // also those whose leaving isn't handled yet
  std::uint32_t lastHandle_ = 0x10001;
  std::set<int> mayChange_;
  std::map<std::string, std::string> content_;
  bool completable_ = true;
  std::map<std::string, TaskFacts> facts_;
  std::vector<std::string> violations_;
  bool ending_ = false;
};

}  // namespace fillstation::explore
