#pragma once

#include <sys/stat.h>

#include <cstddef>
#include <cstdint>
#include <ctime>
#include <deque>
#include <functional>
#include <future>
#include <memory>
#include <string>
#include <vector>

#include "BelowRoot.h"
#include "FileHandle.h"
#include "FileManager.h"
#include "KernelCalls.h"
#include "StopSource.h"
#include "VolumeOwner.h"

namespace fillstation {

// The open directory of a volume's root, and the object that keeps it open for the back end.
struct OpenRoot {
  FileHandle root;
  std::shared_ptr<VolumeMedium> medium;
};

// Limits the data of one volume that is only in memory to 16 MiB: the kernel is told to write new
// content at once (except in small files), and the writer waits for the content that it wrote 8 MiB
// before. So a slow player shows slow progress instead of a long silence at the end, and many
// players together don't fill the memory. Directory data is written by the flush at the end. One
// thread.
class WriteWindow {
 public:
  static constexpr std::int64_t kBehind = std::int64_t{8} << 20;
  // Smaller pieces, which are small files, start together when the volume is synchronised.
  static constexpr std::int64_t kWorthStarting = std::int64_t{256} << 10;
  static constexpr std::int64_t kLimit = std::int64_t{16} << 20;

  // The descriptor of the volume's root and the calls outlive the window.
  WriteWindow(int rootDescriptor, KernelCalls& calls) : root_(rootDescriptor), calls_(calls) {}

  // Call it before `count` more bytes are written to any file; false if earlier data can't be
  // written to the medium.
  bool makeRoom(std::int64_t count);

  // Call it after `count` bytes were appended to the present file; false if they, or earlier ones,
  // can't be written to the medium.
  bool written(int descriptor, std::int64_t count);

  // Call it when the present file is complete.
  void fileEnds();

 private:
  int root_;
  KernelCalls& calls_;
  std::int64_t earlierFiles_ = 0;  // bytes of finished files that may not be on the medium
  std::int64_t settled_ = 0;       // bytes of the present file that are
  std::int64_t end_ = 0;           // bytes of the present file
};

// Closes finished files in the background. On a FAT volume mounted with the option `flush` the
// kernel sleeps up to a tenth of a second in each close of a written file; many such sleeps at the
// same time take no longer than one. Each close also starts writing the volume's tables, so several
// files are closed together, which writes the tables once. For one thread; its destructor closes
// all files. The calls outlive it.
class Closers {
 public:
  // The most files that are still open, and the most threads.
  static constexpr std::size_t kMost = 32;
  // The number of files that are closed together.
  static constexpr std::size_t kTogether = 16;

  explicit Closers(KernelCalls& calls) : calls_(calls) {}
  ~Closers() { finish(); }
  Closers(const Closers&) = delete;
  Closers& operator=(const Closers&) = delete;

  // Closes the file soon, at the latest in finish(); waits while kMost are open. If the system
  // can't start another thread, the program ends.
  void close(FileHandle file) noexcept;

  // Waits until every file is closed; false if any close has failed.
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

// A mounted volume as an open directory. Every destination is reached from there, one directory at
// a time, without following symbolic links or entering other file systems. One thread at a time;
// the stop source and the calls outlive it.
class PosixVolume : public Volume {
 public:
  // Mounts the volume again and opens it; no handle if it didn't come back.
  using Remount = std::function<OpenRoot()>;

  // The open directory of the volume's root, its path, and the back end's part. A requested stop
  // makes a copy in progress fail.
  PosixVolume(FileHandle root, const std::string& mountPath, std::shared_ptr<VolumeMedium> medium,
              const StopSource& stop, KernelCalls& calls = KernelCalls::real(),
              Remount remount = {});  // none for a volume that is not read back

  // The path as volumes are known by; empty for "/", where no player is ever mounted.
  static std::string withoutEndingSlash(std::string path);

  bool createDirectory(const std::string& destination) override;
  bool copyItem(const std::string& source, const std::string& destination) override;
  bool flush() override;
  bool readBack(const CopiedItems& items) override;
  VolumeFailure failure() const override { return failure_; }

 private:
  // Records the first failure, of the volume itself unless a destination is given, with the present
  // errno; returns `done`.
  bool noted(bool done, const std::string& destination = {});
  bool makeFolders(const std::string& destination);
  bool copyFile(const std::string& source, const std::string& destination);
  // Opens the directory of the last component, which must exist; it stays open for the next files.
  // False if it can't be reached.
  bool enterParent(const Components& components);
  FileHandle createBelow(int parent, const std::string& name, const std::string& relativePath);
  bool fillFile(int source, const struct stat& status, FileHandle target);
  bool canReach(int target, std::int64_t size);
  bool copyContent(int source, int target, std::int64_t size);
  // Copies the next bytes of the source, all of them.
  bool copyPiece(int source, int target, std::int64_t count);
  // Does so within the kernel; false too if the kernel can't: then nothing is copied, and inKernel_
  // stays false.
  bool sendPiece(int source, int target, std::int64_t count);
  bool carryPiece(int source, int target, std::int64_t count);

  FileHandle root_;
  std::string mountPath_;  // without a "/" at the end
  std::shared_ptr<VolumeMedium> medium_;
  const Remount remount_;
  const std::timespec opened_;
  const StopSource& stop_;
  KernelCalls& calls_;
  WriteWindow window_;
  const bool closesSlowly_;
  Closers closers_;
  Components parentPath_;
  FileHandle parent_;
  bool inKernel_ = true;
  std::vector<char> buffer_;
  bool hasFailed_ = false;
  VolumeFailure failure_;
};

}  // namespace fillstation
