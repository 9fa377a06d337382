#pragma once

#include <cstring>
#include <string>

namespace fillstation {

// Overwrites the text in memory in a way that no compiler leaves out, and empties it.
inline void wipeText(std::string& text) {
  ::explicit_bzero(text.data(), text.size());
  text.clear();
}

}  // namespace fillstation
