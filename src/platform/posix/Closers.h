#pragma once

#include <condition_variable>
#include <cstddef>
#include <deque>
#include <mutex>
#include <thread>
#include <vector>

#include "FileHandle.h"
#include "KernelCalls.h"

namespace fillstation {

// Closes finished files behind a copy's back: on a FAT volume mounted with the option `flush` the
// kernel sleeps up to a tenth of a second in each close of a written file, and many such sleeps
// pass at the same time as well as one. Each such close also starts writing the volume's tables, so
// that several files are closed together, after which those are written once. A thread is started
// when no other is free. For one thread; closes everything when it goes. The calls outlive it.
class Closers {
 public:
  // Files that are still open at most, and threads.
  static constexpr std::size_t kMost = 32;
  // Files whose closes begin together.
  static constexpr std::size_t kTogether = 16;

  explicit Closers(KernelCalls& calls) : calls_(calls) {}
  ~Closers();
  Closers(const Closers&) = delete;
  Closers& operator=(const Closers&) = delete;

  // Has the file closed soon, finish() at the latest; waits while kMost are still open. A system
  // that can't start another thread ends the program.
  void close(FileHandle file) noexcept;

  // Waits until every file is closed; false when a close has ever failed.
  bool finish();

 private:
  // Lets the closes of the held files begin; the lock is held.
  void begin();
  void work();
  // Closes the file that has waited longest, without the lock.
  void closeFirst(std::unique_lock<std::mutex>& guard);

  KernelCalls& calls_;
  std::mutex lock_;
  std::condition_variable arrived_;
  std::condition_variable closed_;
  std::vector<FileHandle> held_;
  std::deque<FileHandle> waiting_;  // for a thread
  std::size_t open_ = 0;            // all of these and those that are being closed
  bool failed_ = false;
  bool ending_ = false;
  std::vector<std::thread> threads_;
};

}  // namespace fillstation
