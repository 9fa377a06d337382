#pragma once

#include <string_view>

namespace fillstation {

// What an error reply of UDisks2, or of the bus in its place, means to us.
enum class UDisksError {
  alreadyMounted,
  notMounted,
  refused,      // busy, failed or not allowed: the message says it
  notThere,     // the object has gone, or has no such interface (yet)
  serviceGone,  // UDisks2 can't be reached, or died before it answered
  unknown,
};

// The meaning of an error's D-Bus name. Any thread.
UDisksError udisksErrorOf(std::string_view name);

}  // namespace fillstation
