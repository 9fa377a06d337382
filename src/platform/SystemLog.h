#pragma once

#include <array>
#include <cstddef>
#include <mutex>
#include <span>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace fillstation {

// The fields of a record beside its text: names in capital letters, and values of any bytes.
using LogFields = std::vector<std::pair<std::string, std::string>>;

// The system log. Any thread; keeps the order of each thread's texts.
class SystemLog {
 public:
  virtual ~SystemLog() = default;

  // Records one text exactly as given, with its line feeds.
  virtual void write(std::string_view text) = 0;

  // Records one text with fields, if the log has fields.
  virtual void writeWith(std::string_view text, const LogFields& /*fields*/) { write(text); }

  // Records several texts in their order, each as write() does.
  virtual void writeEach(std::span<const std::string> texts) {
    for (const auto& text : texts) {
      write(text);
    }
  }
};

// Collects a large number of texts for the system log, and records many at a time, in order; the
// last ones when the batch is destroyed or the process ends. Belongs to one block of code on one
// thread; one batch at a time.
class LogBatch {
 public:
  static constexpr std::size_t kMost = 256;

  // The log outlives it.
  explicit LogBatch(SystemLog& log) : log_(log) { setCurrent(this); }
  ~LogBatch() {
    setCurrent(nullptr);
    record();
  }
  LogBatch(const LogBatch&) = delete;
  LogBatch& operator=(const LogBatch&) = delete;

  void add(std::string_view text) {
    const std::scoped_lock guard(lock_);
    texts_[count_++] = text;
    if (count_ == kMost) {
      record();
    }
  }

  // Records the contents of the current batch, if any, before the process ends. Any thread.
  static void recordCurrent() {
    const std::scoped_lock guard(lock_);
    if (current_ != nullptr) {
      current_->record();
    }
  }

 private:
  static void setCurrent(LogBatch* batch) {
    const std::scoped_lock guard(lock_);
    current_ = batch;
  }
  void record() {
    const auto texts = std::span(texts_).first(std::exchange(count_, 0));
    log_.writeEach(texts);
  }

  static inline std::mutex lock_;
  static inline LogBatch* current_ = nullptr;

  SystemLog& log_;
  std::array<std::string, kMost> texts_;  // whose memory the next ones use again
  std::size_t count_ = 0;
};

}  // namespace fillstation
