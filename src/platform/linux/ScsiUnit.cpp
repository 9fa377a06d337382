#include "ScsiUnit.h"

#include <fcntl.h>
#include <linux/fs.h>
#include <scsi/sg.h>
#include <sys/ioctl.h>

#include <array>

#include "FileHandle.h"

namespace fillstation {

namespace {

// START STOP UNIT with "load or eject" set and "start" clear.
constexpr unsigned char kStartStopUnit = 0x1B;
constexpr unsigned char kEjectMedium = 0x02;
constexpr unsigned int kTimeOut = 30'000;  // milliseconds

bool isDisk(const FileHandle& node, std::uint64_t sequence) {
  std::uint64_t present = 0;
  return ::ioctl(node.get(), BLKGETDISKSEQ, &present) == 0 && present == sequence;
}

}  // namespace

bool stopScsiUnit(const std::string& node, std::uint64_t sequence) {
  const FileHandle unit(::open(node.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC));
  if (!unit || !isDisk(unit, sequence)) {
    return false;
  }
  std::array<unsigned char, 6> command{kStartStopUnit, 0, 0, 0, kEjectMedium, 0};
  sg_io_hdr request{};
  request.interface_id = 'S';
  request.dxfer_direction = SG_DXFER_NONE;
  request.cmd_len = command.size();
  request.cmdp = command.data();
  request.timeout = kTimeOut;
  return ::ioctl(unit.get(), SG_IO, &request) == 0 && request.status == 0 &&
         request.host_status == 0;
}

}  // namespace fillstation
