#pragma once

#include <cstddef>
#include <deque>
#include <future>
#include <vector>

#include "FileHandle.h"
#include "KernelCalls.h"

namespace fillstation {

// Closes finished files behind a copy's back: on a FAT volume mounted with the option `flush` the
// kernel sleeps up to a tenth of a second in each close of a written file, and many such sleeps
// pass at the same time as well as one. Each such close also starts writing the volume's tables, so
// that several files are closed together, after which those are written once. For one thread;
// closes everything when it goes. The calls outlive it.
class Closers {
 public:
  // Files that are still open at most, and threads.
  static constexpr std::size_t kMost = 32;
  // Files whose closes begin together.
  static constexpr std::size_t kTogether = 16;

  explicit Closers(KernelCalls& calls) : calls_(calls) {}
  ~Closers() { finish(); }
  Closers(const Closers&) = delete;
  Closers& operator=(const Closers&) = delete;

  // Has the file closed soon, finish() at the latest; waits while kMost are still open. A system
  // that can't start another thread ends the program.
  void close(FileHandle file) noexcept;

  // Waits until every file is closed; false when a close has ever failed.
  bool finish() noexcept;

 private:
  // Lets the closes of the held files begin.
  void begin();
  // Waits for the close that began first.
  void awaitFirst();

  KernelCalls& calls_;
  std::vector<FileHandle> held_;
  std::deque<std::future<bool>> closing_;  // whether each succeeded
  bool failed_ = false;
};

}  // namespace fillstation
