#include "MockUnit.h"

#include <dlfcn.h>
#include <fcntl.h>
#include <linux/fs.h>
#include <scsi/sg.h>

#include <cstdarg>

namespace fillstation::test {

namespace {

int answerTo(sg_io_hdr& request) {
  MockUnit& unit = mockUnit();
  unit.command.assign(request.cmdp, request.cmdp + request.cmd_len);
  unit.direction = request.dxfer_direction;
  unit.interfaceId = static_cast<char>(request.interface_id);
  unit.timeOut = request.timeout;
  request.status = unit.status;
  request.host_status = unit.hostStatus;
  return unit.result;
}

}  // namespace

MockUnit& mockUnit() {
  static MockUnit unit;
  return unit;
}

}  // namespace fillstation::test

extern "C" int ioctl(int descriptor, unsigned long request, ...) noexcept {
  using Control = int (*)(int, unsigned long, void*);
  static const auto next = reinterpret_cast<Control>(::dlsym(RTLD_NEXT, "ioctl"));
  std::va_list rest;
  va_start(rest, request);
  void* const argument = va_arg(rest, void*);
  va_end(rest);
  auto& unit = fillstation::test::mockUnit();
  if (unit.present && request == BLKGETDISKSEQ) {
    *static_cast<std::uint64_t*>(argument) = unit.sequence;
    return unit.sequenceResult;
  }
  if (unit.present && request == SG_IO) {
    unit.opensWithoutMedium = (::fcntl(descriptor, F_GETFL) & O_NONBLOCK) != 0;
    unit.isInherited = (::fcntl(descriptor, F_GETFD) & FD_CLOEXEC) == 0;
    return fillstation::test::answerTo(*static_cast<sg_io_hdr*>(argument));
  }
  return next(descriptor, request, argument);
}
