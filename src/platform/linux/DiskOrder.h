#pragma once

#include <deque>
#include <functional>
#include <map>
#include <string>

#include "QtMainThread.h"

namespace fillstation {

// The order of what is done to disks: strictly one after the other for each disk, disks among each
// other at the same time. Main thread, which outlives it.
class DiskOrder {
 public:
  // Called when the work has ended, once.
  using Ended = std::function<void()>;
  using Work = std::function<void(Ended)>;

  explicit DiskOrder(QtMainThread& mainThread) : mainThread_(mainThread) {}

  // Begins the work when what was added for this disk before has ended, never inside this call.
  void add(const std::string& diskName, Work work);

 private:
  void beginFirst(const std::string& diskName);

  QtMainThread& mainThread_;
  std::map<std::string, std::deque<Work>> waiting_;  // the first of each has begun
};

}  // namespace fillstation
