#include "Closers.h"

#include <algorithm>
#include <iterator>

namespace fillstation {

Closers::~Closers() {
  {
    const std::scoped_lock guard(lock_);
    begin();
    ending_ = true;
  }
  arrived_.notify_all();
  for (auto& thread : threads_) {
    thread.join();
  }
}

void Closers::close(FileHandle file) noexcept {
  std::unique_lock guard(lock_);
  closed_.wait(guard, [this] { return open_ < kMost; });
  held_.push_back(std::move(file));
  ++open_;
  if (held_.size() == kTogether) {
    begin();
  }
}

bool Closers::finish() {
  std::unique_lock guard(lock_);
  begin();
  closed_.wait(guard, [this] { return open_ == 0; });
  return !failed_;
}

void Closers::begin() {
  while (threads_.size() < open_) {
    threads_.emplace_back([this] { work(); });
  }
  std::move(held_.begin(), held_.end(), std::back_inserter(waiting_));
  held_.clear();
  arrived_.notify_all();
}

void Closers::work() {
  std::unique_lock guard(lock_);
  while (true) {
    arrived_.wait(guard, [this] { return !waiting_.empty() || ending_; });
    if (waiting_.empty()) {
      return;
    }
    closeFirst(guard);
  }
}

void Closers::closeFirst(std::unique_lock<std::mutex>& guard) {
  FileHandle file = std::move(waiting_.front());
  waiting_.pop_front();
  guard.unlock();
  const bool closed = calls_.close(file.release()) == 0;
  guard.lock();
  failed_ = failed_ || !closed;
  --open_;
  closed_.notify_all();
}

}  // namespace fillstation
