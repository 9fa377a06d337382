#pragma once

#include <memory>
#include <optional>
#include <string>

namespace fillstation {

// The desktop around the program. Main thread.
class Workspace {
 public:
  virtual ~Workspace() = default;

  // Asks the desktop to open an address, of the web or of a file here, in its default browser;
  // neither waits nor reports.
  virtual void openUrl(const std::string& address) = 0;

  // Shows a share from 0 to 1 at the program's icon in the task bar, nothing for none; and tells a
  // person who is elsewhere, by a plain text and a sound that is another one for bad news. Neither
  // waits nor reports, and nothing happens on a desktop without such a service.
  virtual void showProgress(std::optional<double> share) = 0;
  virtual void notify(const std::string& text, bool isBad) = 0;
};

// Whether the machine may fall asleep by itself. Main thread.
class Wakefulness {
 public:
  virtual ~Wakefulness() = default;

  // Keeps it awake until the last copy of the pointer goes, and however the process ends; neither
  // waits nor reports. The text says why, for a person.
  virtual std::shared_ptr<void> keepAwake(const std::string& why) = 0;
};

}  // namespace fillstation
