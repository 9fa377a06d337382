#include "DiskOrder.h"

#include <utility>

namespace fillstation {

void DiskOrder::add(const std::string& diskName, Work work) {
  auto& works = waiting_[diskName];
  works.push_back(std::move(work));
  if (works.size() == 1) {
    beginFirst(diskName);
  }
}

void DiskOrder::beginFirst(const std::string& diskName) {
  mainThread_.post([this, diskName] {
    const Work work = waiting_[diskName].front();
    work([this, diskName] {
      auto& works = waiting_[diskName];
      works.pop_front();
      if (!works.empty()) {
        beginFirst(diskName);
      }
    });
  });
}

}  // namespace fillstation
