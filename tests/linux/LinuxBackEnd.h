#pragma once

#include <map>
#include <optional>
#include <string>

#include "BackEnd.h"
#include "LinuxRig.h"

namespace fillstation::contract {

// The Linux back end over a machine that isn't real. A medium has no content there, and nothing
// runs a command.
class LinuxBackEnd : public BackEnd {
 public:
  UsbBus& usbBus() override { return rig.usbBus; }
  std::shared_ptr<DiskSession> createDiskSession() override { return rig.createSession(); }
  ScriptRunner& scriptRunner() override { return scripts_; }
  FileManager& fileManager() override { return rig.files; }
  std::string userName() override { return {}; }
  std::string password() override { return {}; }
  void make(const std::string& name, const PlayerWish& wish) override;
  void plug(const std::string& name) override;
  void unplug(const std::string& name) override;
  std::vector<OnMedium> content(const std::string& /*name*/) override { return {}; }
  bool isSound(const std::string& /*name*/) override { return true; }
  std::string head(const std::string& /*name*/, std::size_t /*bytes*/) override { return {}; }
  void writeHead(const std::string& /*name*/, const std::string& /*bytes*/) override {}
  std::int64_t mediumSize(const std::string& /*name*/) override { return 0; }
  bool await(const std::function<bool()>& condition) override;
  void settle() override;

 protected:
  test::LinuxRig rig;

 private:
  class NoScripts : public ScriptRunner {
   public:
    ScriptOutcome run(std::string_view /*source*/, const DiskIdentity& /*target*/) override {
      return {};
    }
  };

  NoScripts scripts_;
  std::map<std::string, std::optional<test::MockFileSystem>> made_;
};

}  // namespace fillstation::contract
