#pragma once

#include <QObject>
#include <QSocketNotifier>
#include <functional>
#include <memory>
#include <string>

#include "FileHandle.h"

namespace fillstation {

// Tells which files come to lie in a folder and which go, in order. A file that is being written
// there comes when its writer has closed it; one that is moved in comes at once. A file that is
// written anew comes again. Main thread.
class FolderWatch {
 public:
  // The file's name, and whether it has come; called from the main loop.
  using Handler = std::function<void(const std::string& name, bool come)>;

  FolderWatch(std::string folder, Handler handler);

  // Begins to watch; false when that is not possible. Once.
  bool open();

 private:
  void readEvents();

  const std::string folder_;
  const Handler handler_;
  FileHandle events_;
  std::unique_ptr<QSocketNotifier> notifier_;
};

}  // namespace fillstation
