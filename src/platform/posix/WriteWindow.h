#pragma once

#include <cstdint>

#include "KernelCalls.h"

namespace fillstation {

// Keeps what is written to one volume close to its medium: content starts on its way as soon as it
// is written (but for small files), and the writer waits for what it wrote 8 MiB before, so that at
// no time more than 16 MiB of the volume's files are only in memory. A slow player then shows slow
// progress instead of a long silence at the end, and many players together don't fill the machine's
// memory. Directory data is not covered; that is for the flush at the end. One thread.
class WriteWindow {
 public:
  static constexpr std::int64_t kBehind = std::int64_t{8} << 20;
  // Smaller pieces, which are small files, start together when the volume is synchronised.
  static constexpr std::int64_t kWorthStarting = std::int64_t{256} << 10;
  static constexpr std::int64_t kLimit = std::int64_t{16} << 20;

  // The descriptor of the volume's root and the calls outlive the window.
  WriteWindow(int rootDescriptor, KernelCalls& calls) : root_(rootDescriptor), calls_(calls) {}

  // To be called before `count` more bytes are written to any file; false when what was written
  // before can't be brought to the medium.
  bool makeRoom(std::int64_t count);

  // To be called after `count` bytes were written to the present file, behind its earlier ones;
  // false when they, or earlier ones, can't be brought to the medium.
  bool written(int descriptor, std::int64_t count);

  // To be called when nothing more is written to the present file.
  void fileEnds();

 private:
  int root_;
  KernelCalls& calls_;
  std::int64_t earlierFiles_ = 0;  // bytes of finished files that may not be on the medium
  std::int64_t settled_ = 0;       // bytes of the present file that are
  std::int64_t end_ = 0;           // bytes of the present file
};

}  // namespace fillstation
