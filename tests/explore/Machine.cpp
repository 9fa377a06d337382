#include "Machine.h"

#include <algorithm>
#include <iterator>
#include <utility>

#include "ScriptCompiler.h"
#include "Url.h"

namespace fillstation::explore {

namespace {

ScriptOutcome failure(std::int64_t number) { return {std::nullopt, number, "no"}; }

}  // namespace

std::string Device::mountPath() const {
  return "/media/" + medium->label + std::to_string(medium->number);
}

std::shared_ptr<Device> Machine::attach(std::shared_ptr<Medium> medium, bool mounted) {
  const std::scoped_lock guard(lock_);
  auto device = std::make_shared<Device>();
  device->medium = std::move(medium);
  device->node = freeNode();
  device->handle = ++lastHandle_;
  device->mounted = mounted && device->medium->formatted;
  device->disk = std::make_shared<test::TestDisk>();
  device->disk->describe = [this, weak = std::weak_ptr(device)](std::size_t /*look*/) {
    const std::scoped_lock looking(lock_);
    const auto looked = weak.lock();
    const auto description = looked ? describe(*looked) : DiskDescription();
    if (looked && !looked->firstLook && std::this_thread::get_id() == main_) {
      looked->firstLook = description;
    }
    return description;
  };
  devices_.push_back(device);
  return device;
}

void Machine::detach(Device& device) {
  const std::scoped_lock guard(lock_);
  device.present = false;
  device.mounted = false;
  device.medium->unwritten.clear();
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

std::shared_ptr<Device> Machine::of(const test::TestUsbDevice& stick) const {
  const std::scoped_lock guard(lock_);
  return *std::find_if(devices_.begin(), devices_.end(),
                       [&](const auto& device) { return device->stick.get() == &stick; });
}

std::shared_ptr<Device> Machine::byNode(const std::string& node) const {
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

std::shared_ptr<Device> Machine::find(const DiskIdentity& wanted) const {
  auto device = byNode(wanted.node);
  return device && device->present && device->handle == wanted.usbHandle ? device : nullptr;
}

DiskDescription Machine::describe(const Device& device) const {
  if (!device.present || device.ejected) {
    return {};
  }
  const bool isKnown = device.known && device.medium->formatted;
  const auto path = Url::fromPath(device.mountPath(), true).absoluteString();
  return test::describedAs(isKnown ? std::optional(device.medium->label) : std::nullopt,
                           isKnown && device.mounted ? std::optional(path) : std::nullopt,
                           device.medium->vendor, device.medium->size);
}

std::optional<Dissenter> Machine::carryOut(const test::TestDisks::Request& request) {
  const std::scoped_lock guard(lock_);
  const auto device = find(request.expected);
  if (!device || device->disk != request.disk) {
    return Dissenter{"The disk is not the expected one."};
  }
  if (request.kind == "mount") {
    return mount(*device);
  }
  if (request.kind == "unmount") {
    return unmount(*device);
  }
  device->ejected = device->ejected || !device->mounted;
  return device->mounted ? std::optional(Dissenter{"The volume is in use."}) : std::nullopt;
}

std::optional<Dissenter> Machine::mount(Device& device) {
  const std::scoped_lock guard(lock_);
  if (!device.present || device.ejected) {
    return Dissenter{"There is no medium."};
  }
  device.known = true;
  if (device.trouble == Trouble::kMount || !device.medium->formatted) {
    return Dissenter{"There is no file system."};
  }
  device.mounted = true;
  return std::nullopt;
}

std::optional<Dissenter> Machine::unmount(Device& device) {
  if (device.mounted && device.trouble == Trouble::kUnmount) {
    return Dissenter{"The volume is in use."};
  }
  device.medium->written.merge(device.medium->unwritten);
  device.medium->unwritten.clear();
  device.mounted = false;
  return std::nullopt;
}

ScriptOutcome Machine::runScript(const test::TestScriptRunner::Call& call) {
  const std::scoped_lock guard(lock_);
  const auto compiled = compileScript(call.source);
  if (const auto* error = std::get_if<ScriptOutcome>(&compiled)) {
    violations_.push_back("a script that is none: " + call.source);
    return *error;
  }
  const Script& script = std::get<Script>(compiled);
  if (script.userName != kUser || script.password != kPassword) {
    return failure(-1002);
  }
  const auto command = parsePlayerCommand(script.command);
  if (!command || command->node != call.target.node) {
    violations_.push_back("a command for another disk: " + script.command);
    return failure(-1003);
  }
  const auto device = find(call.target);
  if (!device || device->ejected || device->mounted || device->medium->vendor != "ACTIONS") {
    return failure(-1004);
  }
  const bool isWipe = command->kind == PlayerCommand::wipe;
  if (device->trouble == (isWipe ? Trouble::kWipe : Trouble::kFormat)) {
    return failure(1);
  }
  noteChange(*device, script.command);
  device->known = false;
  device->medium->formatted = !isWipe;
  device->medium->written.clear();
  device->medium->unwritten.clear();
  return {"", {}, {}};
}

std::shared_ptr<Device> Machine::open(const std::string& mountPath, const DiskIdentity& owner) {
  const std::scoped_lock guard(lock_);
  facts_[owner.node].openAsked = true;
  const auto device = find(owner);
  const bool isThere = device && device->mounted && device->mountPath() == mountPath;
  facts_[owner.node].opened = isThere;
  return isThere ? device : nullptr;
}

bool Machine::create(Device& device, const std::string& path, const std::string& source) {
  const std::scoped_lock guard(lock_);
  auto& medium = *device.medium;
  if (!device.present || !device.mounted || path.empty() ||
      (device.trouble == Trouble::kCopy && !source.empty())) {
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
  if (!device.present || !device.mounted || device.trouble == Trouble::kFlush) {
    return false;
  }
  auto& medium = *device.medium;
  if (device.trouble == Trouble::kLies && !medium.unwritten.empty()) {
    medium.unwritten.erase(std::prev(medium.unwritten.end()));
  }
  medium.written.merge(medium.unwritten);
  medium.unwritten.clear();
  return true;
}

bool Machine::readBack(Device& device) {
  const std::scoped_lock guard(lock_);
  const bool holds = device.present && device.mounted && device.medium->written == content_;
  facts_[device.node].complete = completable_ && holds;
  return holds;
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

void Machine::setEnding(bool ending) {
  const std::scoped_lock guard(lock_);
  ending_ = ending;
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
