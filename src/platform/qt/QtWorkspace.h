#pragma once

#include <QDBusConnection>
#include <functional>
#include <optional>
#include <string>
#include <utility>

#include "Workspace.h"

namespace fillstation {

// The desktop by its own means: the helper program xdg-open, which may take as long as it likes,
// and on the session's bus the service for notifications and what docks listen to. Main thread.
class QtWorkspace : public Workspace {
 public:
  // Connects to the bus when it is used first.
  explicit QtWorkspace(std::function<QDBusConnection()> bus = QDBusConnection::sessionBus)
      : bus_(std::move(bus)) {}

  void openUrl(const std::string& address) override;
  void showProgress(std::optional<double> share) override;
  void notify(const std::string& text, bool isBad) override;

 private:
  const std::function<QDBusConnection()> bus_;
};

}  // namespace fillstation
