#pragma once

#include <cstdint>
#include <deque>
#include <functional>
#include <map>
#include <optional>
#include <utility>

#include "QtMainThread.h"

namespace fillstation {

// The order of all work on disks: strictly one after the other for each disk, in parallel for
// different disks. Main thread, which outlives it.
class DiskOrder {
 public:
  // Called when the work has ended, once.
  using Ended = std::function<void()>;
  using Work = std::function<void(Ended)>;
  // The kernel's sequence number, which no other disk gets; none for disks that have gone.
  using Sequence = std::optional<std::uint64_t>;

  explicit DiskOrder(QtMainThread& mainThread) : mainThread_(mainThread) {}

  // Begins the work when the earlier work on this disk has ended, never inside this call.
  void add(const Sequence& disk, Work work) {
    auto& works = waiting_[disk];
    works.push_back(std::move(work));
    if (works.size() == 1) {
      beginFirst(disk);
    }
  }

 private:
  void beginFirst(const Sequence& disk) {
    mainThread_.post([this, disk] {
      const Work work = waiting_[disk].front();
      work([this, disk] {
        auto& works = waiting_[disk];
        works.pop_front();
        if (works.empty()) {
          waiting_.erase(disk);
        } else {
          beginFirst(disk);
        }
      });
    });
  }

  QtMainThread& mainThread_;
  std::map<Sequence, std::deque<Work>> waiting_;  // the first of each has begun
};

}  // namespace fillstation
