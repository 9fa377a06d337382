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

// The directory open on a volume's root, and what keeps it open for the back end.
struct OpenRoot {
  FileHandle root;
  std::shared_ptr<VolumeMedium> medium;
};

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

// A mounted volume as a directory that is kept open. Every destination is reached from there, one
// directory at a time, following no symbolic link and entering no other file system. One thread at
// a time; the stop source and the calls outlive it.
class PosixVolume : public Volume {
 public:
  // Has the volume mounted again and opens it; no handle when it didn't come back.
  using Remount = std::function<OpenRoot()>;

  // The directory open on the volume's root, the path it was opened by, and what the back end says
  // of it. A requested stop makes a copy in progress fail.
  PosixVolume(FileHandle root, const std::string& mountPath, std::shared_ptr<VolumeMedium> medium,
              const StopSource& stop, KernelCalls& calls = KernelCalls::real(),
              Remount remount = {});

  // The path as volumes are known by; empty for "/", where no player is ever mounted.
  static std::string withoutEndingSlash(std::string path);

  bool createDirectory(const std::string& destination) override;
  bool copyItem(const std::string& source, const std::string& destination) override;
  bool flush() override;
  bool readBack(const CopiedItems& items) override;
  VolumeFailure failure() const override { return failure_; }

 private:
  // Keeps what failed first, with the system's number as it is now; hands `done` on.
  bool noted(const std::string& destination, bool done);
  bool makeFolders(const std::string& destination);
  bool copyFile(const std::string& source, const std::string& destination);
  // Opens the directory that holds the last component, which must be there; it stays open for the
  // files behind. Returns false when it can't be reached.
  bool enterParent(const Components& components);
  FileHandle createBelow(int parent, const std::string& name, const std::string& relativePath);
  bool fillFile(int source, const struct stat& status, FileHandle target);
  bool canReach(int target, std::int64_t size);
  bool copyContent(int source, int target, std::int64_t size);
  // Copies the next bytes of the source, all of them.
  bool copyPiece(int source, int target, std::int64_t count);
  // Does so within the kernel; false too when the kernel can't, with nothing done and inKernel_
  // false from then on.
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
