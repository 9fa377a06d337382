#include "OpenFiles.h"

#include <sys/resource.h>

namespace fillstation {

void allowManyOpenFiles() {
  rlimit limit{};
  ::getrlimit(RLIMIT_NOFILE, &limit);
  limit.rlim_cur = limit.rlim_max;
  ::setrlimit(RLIMIT_NOFILE, &limit);
}

}  // namespace fillstation
