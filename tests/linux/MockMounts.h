#pragma once

#include <sys/types.h>

#include <map>
#include <string>

namespace fillstation::test {

// Which folders of the test are mount points, of which device: what fstat() tells of them.
std::map<std::string, dev_t>& mockMounts();

}  // namespace fillstation::test
