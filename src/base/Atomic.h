#pragma once

#include <array>
#include <cstdint>
#include <mutex>
#include <utility>

namespace fillstation {

// The lock of an object: one of a few that all objects share, so it needs no memory per object.
// Hold it only for a moment, and take no other object's lock meanwhile.
template <class T>
std::mutex& sharedLockFor(const T* object) {
  static std::array<std::mutex, 64> locks;
  return locks[(reinterpret_cast<std::uintptr_t>(object) >> 4U) % locks.size()];
}

// One property that several threads get and set atomically. All properties of one type share a few
// locks, so a property needs no extra memory. A lock is held only while the value is copied. The
// replaced value is destroyed after the lock is released, so a destructor that uses other
// properties can't deadlock. std::atomic<std::shared_ptr> of g++ 12 is not used because
// ThreadSanitizer can't follow it.
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
