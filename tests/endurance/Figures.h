#pragma once

#include <string>

namespace fillstation::endurance {

// What the process holds at one moment. A plain value.
struct Figures {
  long heapKiB = 0;      // handed out by the allocator, in all arenas; 0 where it doesn't count
  long residentKiB = 0;  // memory that the process has
  long descriptors = 0;
  long threads = 0;
  long children = 0;  // processes started and not waited for: 0, or 1 for some
  long files = 0;     // entries below the folder, which is all that the program writes to

  static Figures now(const std::string& folder);
  bool operator==(const Figures&) const = default;
};

}  // namespace fillstation::endurance
