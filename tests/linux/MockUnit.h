#pragma once

#include <cstdint>
#include <vector>

namespace fillstation::test {

// A unit that isn't there, behind a function ioctl() of our own: whatever node is asked, this unit
// answers while it is present. One per process.
struct MockUnit {
  bool present = false;
  std::uint64_t sequence = 7;
  int sequenceResult = 0;
  int result = 0;
  unsigned char status = 0;
  unsigned short hostStatus = 0;
  std::vector<unsigned char> command;
  int direction = 0;
  char interfaceId = 0;
  unsigned int timeOut = 0;
  bool opensWithoutMedium = false;
  bool isInherited = true;
};
MockUnit& mockUnit();

}  // namespace fillstation::test
