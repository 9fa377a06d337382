#pragma once

#include <sys/stat.h>

#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "Closers.h"
#include "FileHandle.h"
#include "FileManager.h"
#include "KernelCalls.h"
#include "StopSource.h"
#include "VolumeMedium.h"
#include "WriteWindow.h"

namespace fillstation {

// A mounted volume as a directory that is kept open. Every destination is reached from there, one
// directory at a time, following no symbolic link and entering no other file system. One thread at
// a time; the stop source and the calls outlive it.
class PosixVolume : public Volume {
 public:
  // The directory open on the volume's root, the path it was opened by, and what the back end says
  // of it. A requested stop makes a copy in progress fail.
  PosixVolume(FileHandle root, const std::string& mountPath, std::shared_ptr<VolumeMedium> medium,
              const StopSource& stop, KernelCalls& calls = KernelCalls::real());

  // The path as volumes are known by; empty for "/", where no player is ever mounted.
  static std::string withoutEndingSlash(std::string path);

  bool createDirectory(const std::string& destination) override;
  bool copyItem(const std::string& source, const std::string& destination) override;
  bool flush() override;

 private:
  using Components = std::vector<std::string>;

  // What follows the mount path, none when the destination is not on this volume.
  std::optional<Components> componentsOf(std::string_view destination) const;
  // The directory of that name below another, no handle when there is none on this file system.
  FileHandle openBelow(int parent, const std::string& name) const;
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
