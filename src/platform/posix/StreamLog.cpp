#include "StreamLog.h"

#include <unistd.h>

#include <string>

namespace fillstation {

void StreamLog::write(std::string_view text) {
  std::string record(text);
  record += '\n';
  writeRecords(record);
}

void StreamLog::writeEach(std::span<const std::string> texts) {
  std::string records;
  for (const auto& text : texts) {
    records += text;
    records += '\n';
  }
  writeRecords(records);
}

void StreamLog::writeRecords(std::string_view records) {
  const std::scoped_lock guard(lock_);
  std::fflush(stream_);
  while (!records.empty()) {
    const ssize_t count = ::write(::fileno(stream_), records.data(), records.size());
    if (count < 0) {
      return;
    }
    records.remove_prefix(static_cast<std::size_t>(count));
  }
}

}  // namespace fillstation
