#include "Holds.h"

#include <unistd.h>

#include <utility>

#include "RealSourceFiles.h"

namespace fillstation::test {

namespace {

class HeldRunner : public ScriptRunner {
 public:
  HeldRunner(const Holds& holds, ScriptRunner& runner) : holds_(holds), runner_(runner) {}

  ScriptOutcome run(std::string_view source, const DiskIdentity& target) override {
    holds_.at("authentication");
    return runner_.run(source, target);
  }

 private:
  const Holds& holds_;
  ScriptRunner& runner_;
};

// Requests that are held are never completed.
class HeldSession : public DiskSession {
 public:
  HeldSession(const Holds& holds, std::shared_ptr<DiskSession> session)
      : holds_(holds), session_(std::move(session)) {}

  std::shared_ptr<Disk> diskFromName(std::string_view name) override {
    return session_->diskFromName(name);
  }
  void mount(std::shared_ptr<Disk> disk, const DiskIdentity& expected,
             Completion completion) override {
    if (!holds_.is("mount")) {
      session_->mount(std::move(disk), expected, std::move(completion));
    }
  }
  void unmount(std::shared_ptr<Disk> disk, const DiskIdentity& expected,
               Completion completion) override {
    if (!holds_.is("unmount")) {
      session_->unmount(std::move(disk), expected, std::move(completion));
    }
  }
  void eject(std::shared_ptr<Disk> disk, const DiskIdentity& expected,
             Completion completion) override {
    session_->eject(std::move(disk), expected, std::move(completion));
  }

 private:
  const Holds& holds_;
  std::shared_ptr<DiskSession> session_;
};

class HeldVolume : public Volume {
 public:
  HeldVolume(const Holds& holds, std::shared_ptr<Volume> volume)
      : holds_(holds), volume_(std::move(volume)) {}

  bool createDirectory(const std::string& destination) override {
    return volume_->createDirectory(destination);
  }
  bool copyItem(const std::string& source, const std::string& destination) override {
    if (++copies_ == 2) {
      holds_.at("copy");
    }
    return volume_->copyItem(source, destination);
  }
  bool flush() override {
    holds_.at("flush");
    return volume_->flush();
  }
  bool readBack(const CopiedItems& items) override {
    holds_.at("readback");
    return volume_->readBack(items);
  }

 private:
  const Holds& holds_;
  std::shared_ptr<Volume> volume_;
  int copies_ = 0;
};

class HeldFiles : public RealSourceFiles {
 public:
  HeldFiles(const Holds& holds, FileManager& files) : RealSourceFiles(files), holds_(holds) {}

  std::shared_ptr<Volume> openVolume(const std::string& mountPath,
                                     const DiskIdentity& owner) override {
    auto volume = real().openVolume(mountPath, owner);
    return volume ? std::make_shared<HeldVolume>(holds_, std::move(volume)) : nullptr;
  }

 private:
  const Holds& holds_;
};

}  // namespace

Holds::Holds(std::string step, std::function<void(const std::string&)> tell)
    : step_(std::move(step)), tell_(std::move(tell)) {}

void Holds::installInto(Platform& installed) {
  scriptRunner_ = std::make_unique<HeldRunner>(*this, *installed.scriptRunner);
  fileManager_ = std::make_unique<HeldFiles>(*this, *installed.fileManager);
  installed.scriptRunner = scriptRunner_.get();
  installed.fileManager = fileManager_.get();
  installed.createDiskSession = [this, create = installed.createDiskSession] {
    return std::make_shared<HeldSession>(*this, create());
  };
}

bool Holds::is(const char* step) const {
  if (step_ == step) {
    tell_("held");
    return true;
  }
  return false;
}

void Holds::at(const char* step) const {
  while (is(step)) {
    ::pause();
  }
}

}  // namespace fillstation::test
