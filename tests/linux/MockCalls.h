#pragma once

#include <sys/types.h>

#include <cstdint>
#include <map>
#include <string>
#include <vector>

namespace fillstation::test {

// The SCSI unit that answers in place of all others while there is a MockMachine, whatever node is
// asked; nobody's until sequenceResult is 0.
struct MockUnit {
  std::uint64_t sequence = 101;
  int sequenceResult = -1;
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

// What the system's libraries answer in place of a machine: functions of the C library, libudev and
// libdbus that are replaced by ours in every program with this header. One per process.
struct MockCalls {
  // One look of udev's monitor for an event: an error in place of one (0 for none), and whether all
  // that wait are lost.
  struct Look {
    int error = 0;
    bool isLoss = false;
  };

  // Where udev's database of the test is, "/" at the end; empty while there is none.
  std::string udevDatabase;
  // The file in place of the kernel's table of mounts; empty while there is none.
  std::string mountTable;
  // What the monitor's next looks give; those after them give what there is.
  std::vector<Look> looks;
  // The sizes of the monitor's receive buffer that were asked for.
  std::vector<int> bufferSizes;
  // The path in sysfs of a device that goes between being listed and being looked at.
  std::string vanishing;
  // Which folders of the test are mount points, of which device.
  std::map<std::string, dev_t> mounts;
  MockUnit unit;
};
MockCalls& mockCalls();

// The time-outs, in milliseconds, that calls have been given to libdbus with since the last look.
std::vector<int> takeDBusTimeOuts();

// Begins the program anew with umockdev's library before all others, which is how that one works;
// returns in the program that has it. First thing in main(), or whatever is to be done without it
// comes before.
void preloadMockUdev(char** argv);

}  // namespace fillstation::test
