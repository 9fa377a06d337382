#pragma once

#include <sys/types.h>

#include <string>
#include <vector>

namespace fillstation {

// What is mounted where, read anew from the kernel's table at each question. Any thread.
class MountTable {
 public:
  explicit MountTable(std::string tablePath = "/proc/self/mountinfo")
      : tablePath_(std::move(tablePath)) {}

  // The directories where the root of the device's file system is mounted, in the order of
  // mounting; a part of it that is mounted by itself doesn't count.
  std::vector<std::string> mountPoints(dev_t device) const;

 private:
  std::string tablePath_;
};

}  // namespace fillstation
