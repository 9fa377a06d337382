#include "StepHooks.h"

#include <utility>

#include "TestFileManager.h"

namespace fillstation::test {

namespace {

void tell(const StepHooks& hooks, const Step& step) {
  if (hooks.before) {
    hooks.before(step);
  }
}

class HookedScripts : public ScriptRunner {
 public:
  HookedScripts(ScriptRunner& real, const StepHooks& hooks) : real_(real), hooks_(hooks) {}

  ScriptOutcome run(std::string_view source, const DiskIdentity& target) override {
    const bool isWipe = source.find("dd if=/dev/zero") != std::string_view::npos;
    tell(hooks_, {isWipe ? Step::Kind::kWipe : Step::Kind::kFormat, target.node});
    return real_.run(source, target);
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
    return real_->diskFromName(name);
  }
  void request(DiskRequest what, std::shared_ptr<Disk> disk, const DiskIdentity& expected,
               Completion completion) override {
    const auto kind = what == DiskRequest::mount     ? Step::Kind::kMount
                      : what == DiskRequest::unmount ? Step::Kind::kUnmount
                                                     : Step::Kind::kEject;
    const Step step{kind, expected.node};
    tell(hooks_, step);
    if (!hooks_.isLost || !hooks_.isLost(step)) {
      real_->request(what, std::move(disk), expected, std::move(completion));
    }
  }

 private:
  std::shared_ptr<DiskSession> real_;
  const StepHooks& hooks_;
};

class HookedVolume : public Volume {
 public:
  HookedVolume(std::shared_ptr<Volume> real, std::string node, const StepHooks& hooks)
      : real_(std::move(real)), node_(std::move(node)), hooks_(hooks) {}

  bool createDirectory(const std::string& destination) override {
    return real_->createDirectory(destination);
  }
  bool copyItem(const std::string& source, const std::string& destination) override {
    tell(hooks_, {Step::Kind::kCopy, node_});
    return real_->copyItem(source, destination);
  }
  bool flush() override {
    tell(hooks_, {Step::Kind::kFlush, node_});
    return real_->flush();
  }
  bool readBack(const CopiedItems& items) override {
    tell(hooks_, {Step::Kind::kReadBack, node_});
    return real_->readBack(items);
  }

 private:
  std::shared_ptr<Volume> real_;
  std::string node_;
  const StepHooks& hooks_;
};

class HookedFiles : public RealSourceFiles {
 public:
  HookedFiles(FileManager& files, const StepHooks& hooks) : RealSourceFiles(files), hooks_(hooks) {}

  std::shared_ptr<Volume> openVolume(const std::string& mountPath,
                                     const DiskIdentity& owner) override {
    tell(hooks_, {Step::Kind::kOpen, owner.node});
    auto volume = real().openVolume(mountPath, owner);
    return volume ? std::make_shared<HookedVolume>(std::move(volume), owner.node, hooks_) : nullptr;
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

}  // namespace fillstation::test
