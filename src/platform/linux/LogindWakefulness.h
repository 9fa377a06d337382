#pragma once

#include <QObject>

#include "SystemLog.h"
#include "UDisksClient.h"
#include "Workspace.h"

namespace fillstation {

// Wakefulness, with the lid closed too, by an inhibitor of systemd's login manager on the system
// bus: a descriptor that the manager watches, so that it ends with the process in any case. A
// machine without that manager, or one that refuses, gets a line in the log. Main thread; the log
// outlives it.
class LogindWakefulness : public Wakefulness {
 public:
  LogindWakefulness(BusConnector connect, SystemLog& log)
      : connect_(std::move(connect)), log_(log) {}

  std::shared_ptr<void> keepAwake(const std::string& why) override;

 private:
  const BusConnector connect_;
  SystemLog& log_;
  QObject calls_;  // owns those that are not answered yet
};

}  // namespace fillstation
