#pragma once

#include <fcntl.h>

#include <algorithm>
#include <cerrno>
#include <condition_variable>
#include <cstdint>
#include <ctime>
#include <functional>
#include <mutex>
#include <string>
#include <vector>

#include "KernelCalls.h"

namespace fillstation::test {

// The real calls, which can be made to fail, and a record of calls without a visible effect.
class FakeCalls : public KernelCalls {
 public:
  ssize_t sendFile(int target, int source, std::size_t count) override {
    if (failing == "send" && --callsUntilFailure < 0) {
      return fail();
    }
    if (sendError != 0) {
      errno = sendError;
      ++sendsRefused;
      return -1;
    }
    return KernelCalls::sendFile(target, source, std::min(count, longest));
  }
  ssize_t read(int descriptor, void* buffer, std::size_t count) override {
    return failing == "read" ? fail()
                             : KernelCalls::read(descriptor, buffer, std::min(count, longest));
  }
  ssize_t readAt(int descriptor, void* buffer, std::size_t count, std::int64_t offset) override {
    if (failing == "read at" && --callsUntilFailure < 0) {
      return fail();
    }
    if (onReadAt) {
      onReadAt();
    }
    bytesAsked += descriptor < 0 ? 0 : count;
    const ssize_t got = KernelCalls::readAt(descriptor, buffer, count, offset);
    if (got > 0 && disturbed > 0) {
      --disturbed;
      static_cast<char*>(buffer)[0] ^= static_cast<char>(disturbed % 2 == 0 ? 1 : 2);
    }
    return got;
  }
  ssize_t write(int descriptor, const void* buffer, std::size_t count) override {
    if (failing == "write" && --callsUntilFailure < 0) {
      return fail();
    }
    return KernelCalls::write(descriptor, buffer, std::min(count, longest));
  }
  int close(int descriptor) override {
    const int result = KernelCalls::close(descriptor);
    return failing == "close" ? fail() : result;
  }
  std::int64_t seek(int descriptor, std::int64_t offset) override {
    return offset > furthest ? fail() : KernelCalls::seek(descriptor, offset);
  }
  int setModificationTime(int descriptor, const std::timespec& time) override {
    return failing == "time" ? fail() : KernelCalls::setModificationTime(descriptor, time);
  }
  int advise(int descriptor, int advice) override {
    log.push_back("advise " + std::to_string(advice));
    return KernelCalls::advise(descriptor, advice);
  }
  int syncFileRange(int descriptor, std::int64_t offset, std::int64_t count,
                    unsigned int flags) override {
    const bool waits = flags != SYNC_FILE_RANGE_WRITE;
    log.push_back((waits ? "wait " : "start ") + std::to_string(offset) + " " +
                  std::to_string(count));
    flagsSeen |= flags;
    return failing == (waits ? "wait" : "start")
               ? fail()
               : KernelCalls::syncFileRange(descriptor, offset, count, flags);
  }
  int syncVolume(int descriptor) override {
    log.push_back("sync volume " + std::to_string(descriptor));
    return failing == "sync volume" ? fail() : 0;
  }

  std::string failing;
  int sendError = 0;  // the errno of every sendfile, 0 for none
  int sendsRefused = 0;
  int callsUntilFailure = 0;
  std::size_t longest = SIZE_MAX;  // bytes that one call moves at most
  std::function<void()> onReadAt;
  std::size_t bytesAsked = 0;  // by all positioned reads
  int disturbed = 0;           // the number of reads with a wrong first byte
  std::int64_t furthest = INT64_MAX;
  std::vector<std::string> log;
  unsigned int flagsSeen = 0;

 private:
  static int fail() {
    errno = EIO;
    return -1;
  }
};

// Closes that last until the test lets them end.
class HeldCloses : public FakeCalls {
 public:
  int close(int descriptor) override {
    {
      std::unique_lock guard(lock_);
      most_ = std::max(most_, ++inside_);
      changed_.notify_all();
      changed_.wait(guard, [this] { return allowed_ > 0; });
      --allowed_;
      --inside_;
    }
    return FakeCalls::close(descriptor);
  }

  // Lets this number of closes end.
  void allow(int count) {
    const std::scoped_lock guard(lock_);
    allowed_ += count;
    changed_.notify_all();
  }
  // Waits until this number of closes is in progress.
  void waitFor(int count) {
    std::unique_lock guard(lock_);
    changed_.wait(guard, [&] { return inside_ == count; });
  }
  // How many last now, and at the same time at most.
  int inside() {
    const std::scoped_lock guard(lock_);
    return inside_;
  }
  int most() {
    const std::scoped_lock guard(lock_);
    return most_;
  }

 private:
  std::mutex lock_;
  std::condition_variable changed_;
  int allowed_ = 0;
  int inside_ = 0;
  int most_ = 0;
};

}  // namespace fillstation::test
