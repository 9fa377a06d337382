#include "Machine.h"

#include <algorithm>
#include <iterator>
#include <utility>

#include "ScriptCompiler.h"
#include "Url.h"

namespace fillstation::explore {

namespace {

const Dissenter kOther{"The disk is not the expected one."};

ScriptOutcome failure(std::int64_t number) { return {std::nullopt, number, "no"}; }

}  // namespace

std::shared_ptr<Device> Machine::attach(std::shared_ptr<Medium> medium, std::string product,
                                        bool mounted) {
  const std::scoped_lock guard(lock_);
  auto device = std::make_shared<Device>();
  device->medium = std::move(medium);
  device->product = std::move(product);
  device->node = freeNode();
  device->handle = ++lastHandle_;
  device->mounted = mounted && device->medium->formatted;
  devices_.push_back(device);
  return device;
}

void Machine::detach(const std::shared_ptr<Device>& device) {
  const std::scoped_lock guard(lock_);
  device->present = false;
  device->mounted = false;
  device->medium->unwritten.clear();
}

void Machine::forget(const std::shared_ptr<Device>& device) {
  const std::scoped_lock guard(lock_);
  std::erase(devices_, device);
}

void Machine::forgetLeft() {
  const std::scoped_lock guard(lock_);
  std::erase_if(devices_, [](const auto& device) { return !device->present; });
}

std::vector<std::shared_ptr<Device>> Machine::present() const {
  const std::scoped_lock guard(lock_);
  std::vector<std::shared_ptr<Device>> all;
  std::copy_if(devices_.begin(), devices_.end(), std::back_inserter(all),
               [](const auto& device) { return device->present; });
  return all;
}

std::shared_ptr<Device> Machine::byNode(const std::string& node) const {
  const std::scoped_lock guard(lock_);
  const auto found = std::find_if(devices_.begin(), devices_.end(),
                                  [&](const auto& device) { return device->node == node; });
  return found != devices_.end() ? *found : nullptr;
}

std::string Machine::freeNode() const {
  for (char letter = 'b';; ++letter) {
    std::string node = std::string("/dev/sd") + letter;
    if (byNode(node) == nullptr) {
      return node;
    }
  }
}

bool Machine::is(const Device& device, const DiskIdentity& expected) const {
  return device.present && device.node == expected.node && device.handle == expected.usbHandle;
}

std::shared_ptr<Device> Machine::find(const DiskIdentity& wanted) const {
  const auto device = byNode(wanted.node);
  return device && is(*device, wanted) ? device : nullptr;
}

DiskDescription Machine::describe(const Device& device) const {
  const std::scoped_lock guard(lock_);
  DiskDescription description;
  if (!device.present || device.ejected) {
    return description;
  }
  description.deviceVendor = PlatformValue::text(device.medium->vendor);
  description.mediaSize = PlatformValue::number(device.medium->size);
  if (device.known && device.medium->formatted) {
    description.volumeName = PlatformValue::text(device.medium->label);
    if (device.mounted) {
      description.volumePath =
          PlatformValue::url(Url::fromPath(mountPath(device), true).absoluteString());
    }
  }
  return description;
}

std::string Machine::mountPath(const Device& device) {
  return "/media/" + device.medium->label + std::to_string(device.medium->number);
}

std::optional<Dissenter> Machine::mount(Device& device, const DiskIdentity& expected) {
  const std::scoped_lock guard(lock_);
  if (!is(device, expected) || device.ejected) {
    return kOther;
  }
  device.known = true;
  if (device.troubles.mountRefused || !device.medium->formatted) {
    return Dissenter{"There is no file system."};
  }
  device.mounted = true;
  return std::nullopt;
}

std::optional<Dissenter> Machine::unmount(Device& device, const DiskIdentity& expected) {
  const std::scoped_lock guard(lock_);
  if (!is(device, expected)) {
    return kOther;
  }
  if (device.mounted && device.troubles.unmountRefused) {
    return Dissenter{"The volume is in use."};
  }
  device.medium->written.merge(device.medium->unwritten);
  device.medium->unwritten.clear();
  device.mounted = false;
  return std::nullopt;
}

std::optional<Dissenter> Machine::eject(Device& device, const DiskIdentity& expected) {
  const std::scoped_lock guard(lock_);
  if (!is(device, expected)) {
    return kOther;
  }
  if (device.mounted) {
    return Dissenter{"The volume is in use."};
  }
  device.ejected = true;
  return std::nullopt;
}

ScriptOutcome Machine::runScript(std::string_view source, const DiskIdentity& target) {
  const std::scoped_lock guard(lock_);
  const auto compiled = compileScript(source);
  if (const auto* error = std::get_if<ScriptOutcome>(&compiled)) {
    violations_.push_back("a script that is none: " + std::string(source));
    return *error;
  }
  const Script& script = std::get<Script>(compiled);
  if (script.userName != kUser || script.password != kPassword) {
    return failure(-1002);
  }
  const auto command = parsePlayerCommand(script.command);
  if (!command || command->node != target.node) {
    violations_.push_back("a command for another disk: " + script.command);
    return failure(-1003);
  }
  const auto device = find(target);
  if (!device || device->ejected || device->mounted || device->medium->vendor != "ACTIONS") {
    return failure(-1004);
  }
  const bool isWipe = command->kind == PlayerCommand::wipe;
  if (isWipe ? device->troubles.wipeFails : device->troubles.formatFails) {
    return failure(1);
  }
  noteChange(*device, script.command);
  device->known = false;
  device->medium->formatted = !isWipe;
  device->medium->written.clear();
  device->medium->unwritten.clear();
  return {"", {}, {}};
}

std::shared_ptr<Device> Machine::open(const std::string& mountPathAsked,
                                      const DiskIdentity& owner) {
  const std::scoped_lock guard(lock_);
  facts_[owner.node].openAsked = true;
  const auto device = find(owner);
  const bool isThere = device && device->mounted && mountPath(*device) == mountPathAsked;
  facts_[owner.node].opened = isThere;
  return isThere ? device : nullptr;
}

bool Machine::create(Device& device, const std::string& path, const std::string& source) {
  const std::scoped_lock guard(lock_);
  auto& medium = *device.medium;
  if (!device.present || !device.mounted || path.empty() ||
      (device.troubles.copyFails && !source.empty())) {
    return false;
  }
  noteChange(device, path);
  const bool isThere = medium.written.contains(path) || medium.unwritten.contains(path);
  if (!isThere) {
    medium.unwritten[path] = source;
  }
  return !isThere || source.empty();
}

bool Machine::flush(Device& device) {
  const std::scoped_lock guard(lock_);
  if (!device.present || !device.mounted || device.troubles.flushFails) {
    return false;
  }
  auto& medium = *device.medium;
  if (device.troubles.lies && !medium.unwritten.empty()) {
    medium.unwritten.erase(std::prev(medium.unwritten.end()));
  }
  medium.written.merge(medium.unwritten);
  medium.unwritten.clear();
  return true;
}

bool Machine::readBack(Device& device) {
  const std::scoped_lock guard(lock_);
  TaskFacts& facts = facts_[device.node];
  facts.proven = device.present && device.mounted && device.medium->written == content_;
  facts.complete = completable_ && facts.proven;
  return facts.proven;
}

void Machine::beginRun(const std::vector<std::shared_ptr<Device>>& devices,
                       std::map<std::string, std::string> content, bool completable) {
  const std::scoped_lock guard(lock_);
  mayChange_.clear();
  facts_.clear();
  for (const auto& device : devices) {
    if (device) {
      mayChange_.insert(device->medium->number);
    }
  }
  content_ = std::move(content);
  completable_ = completable;
}

void Machine::noteChange(const Device& device, const std::string& what) {
  if (!mayChange_.contains(device.medium->number)) {
    violations_.push_back("medium " + std::to_string(device.medium->number) +
                          " is not in the run: " + what);
  }
}

void Machine::beginEnding() {
  const std::scoped_lock guard(lock_);
  ending_ = true;
}

void Machine::beginAnew() {
  const std::scoped_lock guard(lock_);
  ending_ = false;
}

void Machine::noteBeginning(const std::string& what) {
  const std::scoped_lock guard(lock_);
  if (ending_) {
    violations_.push_back("the program is ending, and begins: " + what);
  }
}

std::vector<std::string> Machine::takeViolations() {
  const std::scoped_lock guard(lock_);
  return std::exchange(violations_, {});
}

}  // namespace fillstation::explore
