#pragma once

#include <memory>
#include <string_view>

#include "DiskOrder.h"
#include "DiskServices.h"
#include "DiskSession.h"

namespace fillstation {

// The disks of this machine through UDisks2. Any thread; services and order, which all sessions
// share, outlive it and its requests.
class UDisksSession : public DiskSession {
 public:
  UDisksSession(const DiskServices& services, DiskOrder& order)
      : services_(services), order_(order) {}

  std::shared_ptr<Disk> diskFromName(std::string_view name) override;
  void mount(std::shared_ptr<Disk> disk, const DiskIdentity& expected,
             Completion completion) override;
  void unmount(std::shared_ptr<Disk> disk, const DiskIdentity& expected,
               Completion completion) override;
  void eject(std::shared_ptr<Disk> disk, const DiskIdentity& expected,
             Completion completion) override;

 private:
  template <class Request>
  void request(const std::shared_ptr<Disk>& disk, const DiskIdentity& expected,
               Completion completion);

  const DiskServices& services_;
  DiskOrder& order_;
};

}  // namespace fillstation
