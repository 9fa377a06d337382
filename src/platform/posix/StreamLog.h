#pragma once

#include <cstdio>
#include <mutex>
#include <string_view>

#include "SystemLog.h"

namespace fillstation {

// The system log on a standard stream: each text followed by one line feed. Every record reaches
// the stream's descriptor at once and in one piece, behind whatever the stream still held. A stream
// that can't take it loses the record. Any thread; the stream outlives it.
class StreamLog : public SystemLog {
 public:
  explicit StreamLog(std::FILE* stream) : stream_(stream) {}

  void write(std::string_view text) override;
  // Several records in one piece.
  void writeEach(std::span<const std::string> texts) override;

 private:
  void writeRecords(std::string_view records);

  std::mutex lock_;
  std::FILE* stream_;
};

}  // namespace fillstation
