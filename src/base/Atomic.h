#pragma once

#include <array>
#include <cstdint>
#include <mutex>
#include <utility>

namespace fillstation {

// The lock of an object: one of few that all objects share, so that it costs an object nothing. To
// be held for a moment only, with nothing inside that takes another object's.
template <class T>
std::mutex& sharedLockFor(const T* object) {
  static std::array<std::mutex, 64> locks;
  return locks[(reinterpret_cast<std::uintptr_t>(object) >> 4U) % locks.size()];
}

// One property that several threads get and set, each access indivisible. The locks are shared by
// all properties of one type (a property costs no memory of its own); a lock is held only for the
// copy in or out, and the replaced value is destroyed after the lock is free, so that a destructor
// that touches other properties can't deadlock. std::atomic<std::shared_ptr> of g++ 12 is not used
// because ThreadSanitizer can't follow it.
template <class T>
class Atomic {
 public:
  Atomic() = default;
  explicit Atomic(T value) : value_(std::move(value)) {}
  Atomic(const Atomic&) = delete;
  Atomic& operator=(const Atomic&) = delete;

  T get() const {
    const std::scoped_lock guard(lock());
    return value_;
  }

  void set(T value) {
    const std::scoped_lock guard(lock());
    std::swap(value_, value);
  }

 private:
  std::mutex& lock() const { return sharedLockFor(this); }

  T value_{};
};

}  // namespace fillstation
