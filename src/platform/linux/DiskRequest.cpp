#include "DiskRequest.h"

#include <utility>

namespace fillstation {

DiskRequest::DiskRequest(const DiskServices& services, std::shared_ptr<LinuxDisk> disk,
                         DiskIdentity expected, Done done)
    : services_(services),
      disk_(std::move(disk)),
      expected_(std::move(expected)),
      done_(std::move(done)) {}

std::optional<DiskFacts> DiskRequest::expectedDisk() {
  auto facts = readDisk(disk_->name());
  const auto objection =
      guardAgainst(expected_, disk_->name(), disk_->sequence(), facts, services_.known);
  if (objection) {
    fail(*objection);
    return std::nullopt;
  }
  return facts;
}

}  // namespace fillstation
