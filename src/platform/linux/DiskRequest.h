#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>

#include "DiskServices.h"
#include "DiskSession.h"
#include "LinuxDisk.h"

namespace fillstation {

// One request to a disk, from its turn to its end; held by the callbacks that it waits for. Main
// thread; the services outlive it.
class DiskRequest : public std::enable_shared_from_this<DiskRequest> {
 public:
  // None on success.
  using Done = std::function<void(const std::optional<Dissenter>&)>;

  DiskRequest(const DiskServices& services, std::shared_ptr<LinuxDisk> disk, DiskIdentity expected,
              Done done);
  virtual ~DiskRequest() = default;

  // Begins; done is called once, at the end, perhaps inside this call.
  virtual void run() = 0;

 protected:
  // What the disk is now; none when it is not the expected one any more, and then the request has
  // ended. Asked before anything that changes the disk.
  std::optional<DiskFacts> expectedDisk();

  void succeed() { done_(std::nullopt); }
  void fail(const std::string& reason) { done_(Dissenter{reason}); }

  template <class Request>
  std::shared_ptr<Request> self() {
    return std::static_pointer_cast<Request>(shared_from_this());
  }

  const DiskServices& services_;
  const std::shared_ptr<LinuxDisk> disk_;
  const DiskIdentity expected_;
  const Done done_;
};

}  // namespace fillstation
