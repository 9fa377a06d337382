#include "StreamLog.h"

#include <unistd.h>

#include <string>

namespace fillstation {

void StreamLog::write(std::string_view text) {
  std::string record(text);
  record += '\n';
  const std::scoped_lock guard(lock_);
  std::fflush(stream_);
  std::string_view rest = record;
  while (!rest.empty()) {
    const ssize_t count = ::write(::fileno(stream_), rest.data(), rest.size());
    if (count < 0) {
      return;
    }
    rest.remove_prefix(static_cast<std::size_t>(count));
  }
}

}  // namespace fillstation
