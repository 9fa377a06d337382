#pragma once

#include <cstddef>
#include <mutex>
#include <span>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace fillstation {

// Facts that a record holds beside its text: names of capital letters, and values of any bytes.
using LogFields = std::vector<std::pair<std::string, std::string>>;

// The system log. Any thread; texts of one thread stay in order.
class SystemLog {
 public:
  virtual ~SystemLog() = default;

  // Records one text exactly as given, with its line feeds.
  virtual void write(std::string_view text) = 0;

  // Records one text with fields beside it, where the log has such.
  virtual void writeWith(std::string_view text, const LogFields& /*fields*/) { write(text); }

  // Records several texts in their order, each as write() does.
  virtual void writeEach(std::span<const std::string> texts) {
    for (const auto& text : texts) {
      write(text);
    }
  }
};

// Texts for the system log that come in large numbers: they are recorded many at a time, in order,
// the last ones when the batch goes or the process leaves. In one block of code of one thread; one
// batch at a time.
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

  void add(std::string text) {
    const std::scoped_lock guard(lock_);
    texts_.push_back(std::move(text));
    if (texts_.size() == kMost) {
      record();
    }
  }

  // Records the contents of the current batch, if any: the process is about to leave. Any thread.
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
    log_.writeEach(texts_);
    texts_.clear();
  }

  static inline std::mutex lock_;
  static inline LogBatch* current_ = nullptr;

  SystemLog& log_;
  std::vector<std::string> texts_;
};

}  // namespace fillstation
