#pragma once

#include "SystemBus.h"
#include "SystemLog.h"
#include "Workspace.h"

namespace fillstation {

// Wakefulness, with the lid closed too, by an inhibitor of systemd's login manager on the system
// bus: a descriptor that the manager watches, so that it ends with the process in any case. A
// machine without that manager, or one that refuses, gets a line in the log. Main thread; bus
// and log outlive it, and it outlives its calls.
class LogindWakefulness : public Wakefulness {
 public:
  LogindWakefulness(SystemBus& bus, SystemLog& log) : bus_(bus), log_(log) {}

  std::shared_ptr<void> keepAwake(const std::string& why) override;

 private:
  SystemBus& bus_;
  SystemLog& log_;
};

}  // namespace fillstation
