#include "UnmountRequest.h"

#include "UDisksNames.h"

namespace fillstation {

// Each call takes one mount away, so there is another run after each.
void UnmountRequest::run() {
  const auto facts = expectedDisk();
  if (!facts) {
    return;
  }
  std::size_t mounts = 0;
  std::string mounted;
  for (const auto& block : facts->blocks()) {
    const std::size_t ofBlock = services_.mounts.mountPoints(block.number).size();
    mounts += ofBlock;
    mounted = ofBlock > 0 ? block.name : mounted;
  }
  if (mounts == 0) {
    succeed();
    return;
  }
  if (mounts >= mountsBefore_) {
    fail("The volume is still mounted.");
    return;
  }
  mountsBefore_ = mounts;
  services_.client.call(UDisksClient::blockPath(mounted), udisks::kFilesystem, udisks::kUnmount,
                        [self = self<UnmountRequest>()](const UDisksFailure* failure, const auto&) {
                          // Somebody else may have been faster.
                          if (failure != nullptr && failure->error != UDisksError::notMounted) {
                            self->fail(failure->text);
                          } else {
                            self->run();
                          }
                        });
}

}  // namespace fillstation
