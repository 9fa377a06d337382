#pragma once

#include <memory>
#include <optional>
#include <string>

namespace fillstation {

// The desktop around the program. Main thread.
class Workspace {
 public:
  virtual ~Workspace() = default;

  // Asks the desktop to open an address, of a web page or a local file, in its default browser.
  // Returns at once and reports nothing.
  virtual void openUrl(const std::string& address) = 0;

  // Shows a share from 0 to 1 at the program's icon in the task bar, or none. Notifies a user who
  // works in another window, with a plain text and a sound, which is different for bad news. Both
  // return at once and report nothing; without such a service on the desktop nothing happens.
  virtual void showProgress(std::optional<double> share) = 0;
  virtual void notify(const std::string& text, bool isBad) = 0;
};

// Keeps the computer from falling asleep by itself. Main thread.
class Wakefulness {
 public:
  virtual ~Wakefulness() = default;

  // Keeps it awake until the last copy of the pointer is gone, or the process has ended. Returns at
  // once and reports nothing. The text tells people the reason.
  virtual std::shared_ptr<void> keepAwake(const std::string& why) = 0;
};

}  // namespace fillstation
