#include "StepHooks.h"

#include <utility>

#include "FileManager.h"
#include "RealSourceFiles.h"

namespace fillstation::faults {

namespace {

void tell(const std::function<void(const Step&)>& hook, const Step& step) {
  if (hook) {
    hook(step);
  }
}

class HookedScripts : public ScriptRunner {
 public:
  HookedScripts(ScriptRunner& real, const StepHooks& hooks) : real_(real), hooks_(hooks) {}

  ScriptOutcome run(std::string_view source, const DiskIdentity& target) override {
    const bool isWipe = source.find("dd if=/dev/zero") != std::string_view::npos;
    const Step step{isWipe ? Step::Kind::kWipe : Step::Kind::kFormat, target.node};
    tell(hooks_.before, step);
    auto answer = hooks_.instead ? hooks_.instead(step) : std::nullopt;
    const ScriptOutcome outcome = answer ? std::move(*answer) : real_.run(source, target);
    tell(hooks_.after, step);
    return outcome;
  }

 private:
  ScriptRunner& real_;
  const StepHooks& hooks_;
};

class HookedSession : public DiskSession {
 public:
  HookedSession(std::shared_ptr<DiskSession> real, const StepHooks& hooks)
      : real_(std::move(real)), hooks_(hooks) {}

  std::shared_ptr<Disk> diskFromName(std::string_view name) override {
    tell(hooks_.before, {Step::Kind::kLook, std::string(name)});
    return real_->diskFromName(name);
  }
  void mount(std::shared_ptr<Disk> disk, const DiskIdentity& expected,
             Completion completion) override {
    if (isAsked({Step::Kind::kMount, expected.node})) {
      real_->mount(std::move(disk), expected, std::move(completion));
    }
  }
  void unmount(std::shared_ptr<Disk> disk, const DiskIdentity& expected,
               Completion completion) override {
    if (isAsked({Step::Kind::kUnmount, expected.node})) {
      real_->unmount(std::move(disk), expected, std::move(completion));
    }
  }
  void eject(std::shared_ptr<Disk> disk, const DiskIdentity& expected,
             Completion completion) override {
    if (isAsked({Step::Kind::kEject, expected.node})) {
      real_->eject(std::move(disk), expected, std::move(completion));
    }
  }

 private:
  bool isAsked(const Step& step) const {
    tell(hooks_.before, step);
    return !hooks_.isLost || !hooks_.isLost(step);
  }

  std::shared_ptr<DiskSession> real_;
  const StepHooks& hooks_;
};

class HookedFiles : public test::RealSourceFiles {
 public:
  HookedFiles(FileManager& files, const StepHooks& hooks) : RealSourceFiles(files), hooks_(hooks) {}

  std::shared_ptr<Volume> openVolume(const std::string& mountPath,
                                     const DiskIdentity& owner) override {
    tell(hooks_.before, {Step::Kind::kOpen, owner.node});
    return real().openVolume(mountPath, owner);
  }

 private:
  const StepHooks& hooks_;
};

struct HookedPorts {
  HookedScripts scripts;
  HookedFiles files;
};

}  // namespace

std::shared_ptr<void> installHooks(const StepHooks& hooks, Platform& installed) {
  const auto ports = std::make_shared<HookedPorts>(HookedPorts{
      HookedScripts(*installed.scriptRunner, hooks), HookedFiles(*installed.fileManager, hooks)});
  installed.scriptRunner = &ports->scripts;
  installed.fileManager = &ports->files;
  installed.createDiskSession = [real = installed.createDiskSession, &hooks] {
    return std::make_shared<HookedSession>(real(), hooks);
  };
  return ports;
}

}  // namespace fillstation::faults
