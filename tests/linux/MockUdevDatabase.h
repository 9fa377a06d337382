#pragma once

#include <string>

namespace fillstation::test {

// Where udev's database of the test is, "/" at the end; empty while there is none.
std::string& mockUdevDatabase();

}  // namespace fillstation::test
