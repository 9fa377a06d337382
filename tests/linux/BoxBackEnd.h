#pragma once

#include <map>
#include <mutex>
#include <string>

#include "FileHandle.h"
#include "LinuxRig.h"
#include "LoopDevice.h"
#include "PolkitScriptRunner.h"

namespace fillstation::contract {

// The Linux back end in a box of script_box.sh: the real polkit and pkexec run the commands on
// block devices made of files, which the machine that isn't real says to be players. Once per box,
// as root.
class BoxBackEnd : public test::LinuxRig {
 public:
  BoxBackEnd();
  ~BoxBackEnd() override;

  ScriptRunner& scriptRunner() override { return runner_; }
  std::string userName() override { return "boss"; }
  std::string password() override;
  void make(const std::string& name, const PlayerWish& wish) override;
  void plug(const std::string& name) override;
  void unplug(const std::string& name) override;
  std::vector<OnMedium> content(const std::string& name) override;
  bool isSound(const std::string& name) override;
  std::string head(const std::string& name, std::size_t bytes) override;
  void writeHead(const std::string& name, const std::string& bytes) override;
  std::int64_t mediumSize(const std::string& name) override;

 private:
  struct LoopDisk {
    FileHandle image;
    test::LoopDevice loop;
  };

  // Runs a command and then has udev notice what has become of the disk.
  class NoticedRunner : public ScriptRunner {
   public:
    explicit NoticedRunner(BoxBackEnd& owner) : owner_(owner) {}
    ScriptOutcome run(std::string_view source, const DiskIdentity& target) override;

   private:
    BoxBackEnd& owner_;
  };

  test::UDisksAnswer obeyAndMount(const test::UDisksCall& call);
  void notice(const std::string& node);
  std::optional<test::MockFileSystem> fileSystemOn(const LoopDisk& disk) const;
  std::string sysPath(const std::string& below) const;

  std::map<std::string, LoopDisk> disks_;
  PolkitScriptRunner polkit_;
  NoticedRunner runner_{*this};
};

}  // namespace fillstation::contract
