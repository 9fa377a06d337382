#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>

#include "DiskSession.h"

namespace fillstation {

// One entry of a deep walk, with the facts that the walk has read; a value that couldn't be read is
// absent.
struct WalkEntry {
  std::string path;  // absolute: the walked folder's path as given, and the path below it
  std::optional<bool> isDirectory;   // a symbolic link to a file counts as the file
  std::optional<std::int64_t> size;  // bytes
};

// A deep walk of one folder in progress. One thread.
class DirectoryWalk {
 public:
  virtual ~DirectoryWalk() = default;

  // The next entry, none at the end. A folder comes before its contents. The entries of a folder
  // are ordered by name: ignoring case and accents, digits by value, equal ones by bytes. Hidden
  // entries are included. A symbolic link to a folder is left out, and so is a dangling link: links
  // across a tree would multiply its paths.
  virtual std::optional<WalkEntry> next() = 0;
};

// One file or folder that was copied to a volume. A plain value.
struct CopiedItem {
  bool isDirectory = false;
  std::int64_t size = 0;    // bytes, as the source had when it was chosen
  std::string source;       // absolute path
  std::string destination;  // absolute path below the mount path
};

// Passes every item to the visitor, in the order of copying, until it returns false.
using CopiedItems = std::function<void(const std::function<bool(const CopiedItem&)>& visitor)>;

// The first failure on a volume. A plain value.
struct VolumeFailure {
  std::string path;  // below the mount path; empty for the volume itself, or if unknown
  int error = 0;     // the system's number (errno); 0 if unknown
};

// A player's mounted volume, opened for filling. Everything happens below the directory that was
// opened, on that file system only: if the volume vanishes, operations fail and don't reach the
// directory under the mount. One thread at a time; closes with the last reference.
class Volume {
 public:
  virtual ~Volume() = default;

  // Creates the directory and missing parents. Returns true if it exists afterwards. The
  // destination is an absolute path that begins with the volume's mount path.
  virtual bool createDirectory(const std::string& destination) = 0;

  // Copies a regular file with its modification time. Never overwrites: false if something exists
  // at the destination (an absolute path as above), if the source is not a regular file (then it is
  // not opened), or if anything fails. A failed copy leaves no file. When it returns, at most 16
  // MiB of the volume's files are not on the medium yet.
  virtual bool copyItem(const std::string& source, const std::string& destination) = 0;

  // Returns when everything written is on the medium; false if that is not certain.
  virtual bool flush() = 0;

  // Closes the volume, unmounts and mounts it, and compares the medium with the copied files: all
  // names, their order and sizes, and samples of the content. False if there is a difference, or if
  // it can't be read. The volume can't be used afterwards.
  virtual bool readBack(const CopiedItems& items) = 0;

  // The first failure of all of the above.
  virtual VolumeFailure failure() const { return {}; }
};

// The file system as the program sees it. Paths are bytes. Any thread.
class FileManager {
 public:
  // Receives the path that couldn't be read; returns whether the walk continues.
  using WalkErrorHandler = std::function<bool(const std::string& path)>;

  virtual ~FileManager() = default;

  // True if a file or folder exists at the path, following symbolic links. Sets isDirectory, if
  // given, to whether it is a folder (false if nothing exists).
  virtual bool fileExists(const std::string& path, bool* isDirectory = nullptr) = 0;

  // The size in bytes of the file at the path, following symbolic links; none if it can't be read.
  virtual std::optional<std::int64_t> fileSize(const std::string& path) = 0;

  // Begins a deep walk below the folder, which may be a symbolic link; the folder itself is not
  // yielded.
  virtual std::unique_ptr<DirectoryWalk> walk(const std::string& folder,
                                              WalkErrorHandler onError) = 0;

  // The volume mounted at the path; null unless that is (still) a mount of the disk `owner`.
  virtual std::shared_ptr<Volume> openVolume(const std::string& mountPath,
                                             const DiskIdentity& owner) = 0;
};

}  // namespace fillstation
