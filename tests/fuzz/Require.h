#pragma once

#include <cstdlib>

namespace fillstation::fuzz {

// What must hold for every input; in force in every build.
inline void require(bool holds) {
  if (!holds) {
    std::abort();
  }
}

}  // namespace fillstation::fuzz
