#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>
#include <string_view>

namespace fillstation::fuzz {

// A condition for every input; checked in every build.
inline void require(bool holds) {
  if (!holds) {
    std::abort();
  }
}

// The bytes of one input, taken from the front. A plain value over memory of the caller's.
class Input {
 public:
  Input(const std::uint8_t* data, std::size_t size)
      : rest_(reinterpret_cast<const char*>(data), size) {}

  std::string_view rest() const { return rest_; }

  // This number of bytes, or the rest.
  std::string take(std::size_t count) {
    const std::string taken(rest_.substr(0, count));
    rest_.remove_prefix(taken.size());
    return taken;
  }

  // Up to the next null byte, which is taken too; else all.
  std::string takeText() {
    const auto end = std::min(rest_.find('\0'), rest_.size());
    const std::string taken = take(end);
    rest_.remove_prefix(rest_.empty() ? 0 : 1);
    return taken;
  }

  // One byte, 0 at the end.
  std::uint8_t takeByte() {
    const std::string taken = take(1);
    return taken.empty() ? 0 : static_cast<std::uint8_t>(taken[0]);
  }

 private:
  std::string_view rest_;
};

}  // namespace fillstation::fuzz
