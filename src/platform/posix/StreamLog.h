#pragma once

#include <array>
#include <condition_variable>
#include <cstddef>
#include <cstdio>
#include <mutex>
#include <string>
#include <string_view>

#include "SystemLog.h"

namespace fillstation {

// The system log on a standard stream: each text followed by one line feed. Every record reaches
// the stream's descriptor in one piece, behind whatever the stream still held: at once, or, while
// another thread is writing there, with what that one writes next. So no thread waits for another's
// record, but for a stream that takes nothing while kMost bytes wait. A stream that fails loses the
// record. Any thread; the stream outlives it.
class StreamLog : public SystemLog {
 public:
  // Bytes that wait at most for another thread's writing.
  static constexpr std::size_t kMost = std::size_t{1} << 20;

  explicit StreamLog(std::FILE* stream);
  ~StreamLog() override;
  StreamLog(const StreamLog&) = delete;
  StreamLog& operator=(const StreamLog&) = delete;

  // Returns when everything that any of these logs was given before is written.
  static void settleAll();

  void write(std::string_view text) override { writeEach(std::array{std::string(text)}); }
  // Several records in one piece.
  void writeEach(std::span<const std::string> texts) override;

 private:
  std::FILE* stream_;
  std::mutex lock_;
  std::condition_variable wrote_;
  std::string waiting_;
  std::string beingWritten_;
  bool writing_ = false;
};

}  // namespace fillstation
