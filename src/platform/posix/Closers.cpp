#include "Closers.h"

#include <utility>

namespace fillstation {

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
