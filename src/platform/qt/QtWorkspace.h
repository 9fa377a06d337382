#pragma once

#include <QDBusConnection>
#include <functional>
#include <optional>
#include <string>
#include <utility>

#include "Workspace.h"

namespace fillstation {

// The desktop's services: the helper program xdg-open, which may take long, and on the session bus
// the notifications and the progress for docks. Main thread.
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
