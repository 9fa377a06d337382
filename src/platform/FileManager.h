#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>

#include "DiskSession.h"

namespace fillstation {

// One entry of a deep walk, with what was read of it on the way; a value that couldn't be read is
// absent.
struct WalkEntry {
  std::string path;  // absolute, the walked folder's path as given and what lies below
  std::optional<bool> isDirectory;   // a symbolic link to a file counts as the file
  std::optional<std::int64_t> size;  // bytes
};

// A deep walk of one folder in progress. One thread.
class DirectoryWalk {
 public:
  virtual ~DirectoryWalk() = default;

  // The next entry, none at the end: a folder before what it holds, the entries of a folder by
  // name: case and accents don't count, runs of digits count by value, bytes decide between what is
  // then alike; hidden ones included. A symbolic link to a folder is left out, as a
  // dangling one is: links across a tree would multiply its paths.
  virtual std::optional<WalkEntry> next() = 0;
};

// One file or folder that was put onto a volume. A plain value.
struct CopiedItem {
  bool isDirectory = false;
  std::int64_t size = 0;    // bytes, as the source had when it was chosen
  std::string source;       // absolute path
  std::string destination;  // absolute path below the mount path
};

// Hands every item to the visitor, in the order in which they were copied, until it returns false.
using CopiedItems = std::function<void(const std::function<bool(const CopiedItem&)>& visitor)>;

// What failed first on a volume. A plain value.
struct VolumeFailure {
  std::string path;  // below the mount path; empty for the volume itself, or for nothing
  int error = 0;     // the system's number (errno); 0 when it gave none
};

// A player's mounted volume, opened for filling. Everything happens below the directory that was
// opened, on that file system alone: when the volume vanishes, operations fail instead of reaching
// what lies beneath. One thread at a time; closes with the last reference.
class Volume {
 public:
  virtual ~Volume() = default;

  // Creates the directory and missing parents. True when it is there afterwards. The destination is
  // an absolute path that begins with the volume's mount path.
  virtual bool createDirectory(const std::string& destination) = 0;

  // Copies a regular file with its modification time. Never overwrites: false when anything exists
  // at the destination (an absolute path as above), when the source is not a regular file (it is
  // not opened then) or when anything fails; a failed copy leaves nothing behind. At most 16 MiB of
  // the volume's files are not yet on the medium when it returns.
  virtual bool copyItem(const std::string& source, const std::string& destination) = 0;

  // Returns when everything written is on the medium; false when that can't be promised.
  virtual bool flush() = 0;

  // Closes the volume, unmounts and mounts it, and compares what the medium holds now with what was
  // copied: all names, their order and sizes, and samples of the content. False when something
  // differs or can't be read. Nothing else is done with the volume afterwards.
  virtual bool readBack(const CopiedItems& items) = 0;

  // The first failure of all of the above.
  virtual VolumeFailure failure() const { return {}; }
};

// The file system as the program sees it. Paths are bytes. Any thread.
class FileManager {
 public:
  // Told the path that couldn't be read; answers whether the walk goes on.
  using WalkErrorHandler = std::function<bool(const std::string& path)>;

  virtual ~FileManager() = default;

  // True when something exists at the path, symbolic links followed. isDirectory, if given, is set
  // to whether that is a folder (false when nothing exists).
  virtual bool fileExists(const std::string& path, bool* isDirectory = nullptr) = 0;

  // Size in bytes of what is at the path, symbolic links followed; none when it can't be read.
  virtual std::optional<std::int64_t> fileSize(const std::string& path) = 0;

  // Begins a deep walk of what is below the folder, which may be a symbolic link; the folder itself
  // is not yielded.
  virtual std::unique_ptr<DirectoryWalk> walk(const std::string& folder,
                                              WalkErrorHandler onError) = 0;

  // The volume mounted at the path, null unless that is (still) a mount of the very disk `owner`.
  virtual std::shared_ptr<Volume> openVolume(const std::string& mountPath,
                                             const DiskIdentity& owner) = 0;
};

}  // namespace fillstation
