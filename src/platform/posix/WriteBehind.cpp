#include "WriteBehind.h"

#include <utility>

namespace fillstation {

bool WriteWindow::makeRoom(std::int64_t count) {
  if (earlierFiles_ + end_ - settled_ + count <= kLimit) {
    return true;
  }
  if (calls_.syncVolume(root_) != 0) {
    return false;
  }
  earlierFiles_ = 0;
  settled_ = end_;
  return true;
}

bool WriteWindow::written(int descriptor, std::int64_t count) {
  const std::int64_t begin = end_;
  end_ += count;
  if (count >= kWorthStarting &&
      calls_.syncFileRange(descriptor, begin, count, SYNC_FILE_RANGE_WRITE) != 0) {
    return false;
  }
  const std::int64_t due = end_ - kBehind - settled_;
  if (due <= 0) {
    return true;
  }
  const std::int64_t from = settled_;
  settled_ += due;
  return calls_.syncFileRange(
             descriptor, from, due,
             SYNC_FILE_RANGE_WAIT_BEFORE | SYNC_FILE_RANGE_WRITE | SYNC_FILE_RANGE_WAIT_AFTER) == 0;
}

void WriteWindow::fileEnds() {
  earlierFiles_ += end_ - settled_;
  settled_ = 0;
  end_ = 0;
}

void Closers::close(FileHandle file) noexcept {
  if (held_.size() + closing_.size() == kMost) {
    awaitFirst();
  }
  held_.push_back(std::move(file));
  if (held_.size() == kTogether) {
    begin();
  }
}

bool Closers::finish() noexcept {
  begin();
  while (!closing_.empty()) {
    awaitFirst();
  }
  return !failed_;
}

void Closers::begin() {
  for (auto& file : std::exchange(held_, {})) {
    closing_.push_back(std::async(std::launch::async, [this, descriptor = file.release()] {
      return calls_.close(descriptor) == 0;
    }));
  }
}

void Closers::awaitFirst() {
  failed_ = !closing_.front().get() || failed_;
  closing_.pop_front();
}

}  // namespace fillstation
