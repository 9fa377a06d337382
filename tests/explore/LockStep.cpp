#include "LockStep.h"

#include <algorithm>
#include <chrono>
#include <stdexcept>

namespace fillstation::explore {

namespace {

constexpr std::chrono::minutes kStuck(1);

// Who this thread is; empty for the main thread and for those that nobody knows yet.
thread_local std::string self;
thread_local bool isCoordinator = false;

}  // namespace

void LockStep::await(std::unique_lock<std::mutex>& guard, const std::function<bool()>& holds,
                     const std::string& what) {
  if (!changed_.wait_for(guard, kStuck, holds)) {
    throw std::runtime_error("stuck: " + what);
  }
}

void LockStep::expectWorkers(std::size_t workers) {
  const std::scoped_lock guard(lock_);
  workers_.clear();
  expected_ = workers;
}

void LockStep::begin() {
  std::unique_lock guard(lock_);
  await(
      guard,
      [this] {
        return workers_.size() == expected_ &&
               std::all_of(workers_.begin(), workers_.end(),
                           [](const auto& worker) { return worker.second == State::kWaiting; });
      },
      "not all workers have begun");
}

std::set<std::string> LockStep::waiting() {
  const std::scoped_lock guard(lock_);
  std::set<std::string> names;
  for (const auto& [name, state] : workers_) {
    if (state == State::kWaiting) {
      names.insert(name);
    }
  }
  return names;
}

void LockStep::turn(const std::string& name) {
  std::unique_lock guard(lock_);
  workers_.at(name) = State::kRunning;
  changed_.notify_all();
  while (workers_.at(name) == State::kRunning && !ended_) {
    await(
        guard,
        [this, &name] {
          return ended_ || handed_ != nullptr || workers_.at(name) != State::kRunning;
        },
        name + " doesn't stop");
    run(handed_, guard);
  }
}

void LockStep::run(const std::function<void()>*& place, std::unique_lock<std::mutex>& guard) {
  if (place == nullptr || ended_) {
    return;
  }
  begun_ = place;
  guard.unlock();
  (*begun_)();
  guard.lock();
  begun_ = nullptr;
  place = nullptr;
  changed_.notify_all();
}

bool LockStep::isResultDue() {
  std::unique_lock guard(lock_);
  if (!coordinates_ || ended_ ||
      std::any_of(workers_.begin(), workers_.end(),
                  [](const auto& worker) { return worker.second != State::kEnded; })) {
    return false;
  }
  await(
      guard, [this] { return result_ != nullptr; }, "no result");
  return true;
}

void LockStep::deliverResult() {
  std::unique_lock guard(lock_);
  run(result_, guard);
  await(
      guard, [this] { return !coordinates_; }, "the coordinator doesn't end");
}

void LockStep::end() {
  const std::scoped_lock guard(lock_);
  ended_ = true;
  changed_.notify_all();
}

void LockStep::introduce(const std::string& name) {
  self = name;
  std::unique_lock guard(lock_);
  workers_[name] = State::kWaiting;
  changed_.notify_all();
  changed_.wait(guard, [&] { return ended_ || workers_[name] == State::kRunning; });
}

bool LockStep::stopHere() {
  std::unique_lock guard(lock_);
  if (self.empty() || ended_) {
    return !ended_;
  }
  workers_[self] = State::kWaiting;
  changed_.notify_all();
  changed_.wait(guard, [this] { return ended_ || workers_[self] == State::kRunning; });
  return !ended_;
}

void LockStep::leave() {
  const std::scoped_lock guard(lock_);
  workers_[self] = State::kEnded;
  self.clear();
  changed_.notify_all();
}

bool LockStep::handOver(const std::function<void()>& callable) {
  std::unique_lock guard(lock_);
  if (ended_) {
    return false;
  }
  auto& place = isCoordinator ? result_ : handed_;
  place = &callable;
  changed_.notify_all();
  // What has begun is waited for, also when the program ends meanwhile.
  changed_.wait(guard, [&] { return place == nullptr || (ended_ && begun_ != &callable); });
  const bool done = place == nullptr;
  place = nullptr;
  return done;
}

void LockStep::expectCoordinator() {
  const std::scoped_lock guard(lock_);
  coordinates_ = true;
}

void LockStep::coordinatorBegins() { isCoordinator = true; }

void LockStep::coordinatorEnds() {
  const std::scoped_lock guard(lock_);
  coordinates_ = false;
  changed_.notify_all();
}

}  // namespace fillstation::explore
