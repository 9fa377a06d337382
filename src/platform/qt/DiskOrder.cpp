#include "DiskOrder.h"

#include <utility>

namespace fillstation {

void DiskOrder::add(const Sequence& disk, Work work) {
  auto& works = waiting_[disk];
  works.push_back(std::move(work));
  if (works.size() == 1) {
    beginFirst(disk);
  }
}

void DiskOrder::beginFirst(const Sequence& disk) {
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

}  // namespace fillstation
