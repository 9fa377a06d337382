#include "FileHandle.h"

#include <unistd.h>

namespace fillstation {

FileHandle::~FileHandle() {
  if (descriptor_ >= 0) {
    ::close(descriptor_);
  }
}

}  // namespace fillstation
