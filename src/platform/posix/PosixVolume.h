#pragma once

#include <sys/stat.h>

#include <ctime>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "BelowRoot.h"
#include "FileHandle.h"
#include "FileManager.h"
#include "KernelCalls.h"
#include "StopSource.h"
#include "VolumeOwner.h"
#include "WriteBehind.h"

namespace fillstation {

// The directory open on a volume's root, and what keeps it open for the back end.
struct OpenRoot {
  FileHandle root;
  std::shared_ptr<VolumeMedium> medium;
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

 private:
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
};

}  // namespace fillstation
