#include "StopSource.h"

#include <utility>

namespace fillstation {

void StopSource::request() {
  const std::scoped_lock callbackGuard(callbackLock_);
  {
    const std::scoped_lock guard(lock_);
    requested_ = true;
    changed_.notify_all();
  }
  const auto callbacks = std::exchange(callbacks_, {});
  for (const auto& [id, callback] : callbacks) {
    callback();
  }
}

bool StopSource::requested() const {
  const std::scoped_lock guard(lock_);
  return requested_;
}

bool StopSource::waitFor(std::chrono::microseconds duration) const {
  std::unique_lock guard(lock_);
  return !changed_.wait_for(guard, duration, [this] { return requested_; });
}

std::size_t StopSource::onRequest(std::function<void()> callback) {
  const std::scoped_lock callbackGuard(callbackLock_);
  const std::size_t id = nextId_++;
  if (requested()) {
    callback();
  } else {
    callbacks_.emplace(id, std::move(callback));
  }
  return id;
}

void StopSource::removeCallback(std::size_t id) {
  const std::scoped_lock callbackGuard(callbackLock_);
  callbacks_.erase(id);
}

}  // namespace fillstation
