#pragma once

#include <cstdint>
#include <string>

namespace fillstation {

// What a back end has to say while one opened volume is filled: what its file system would refuse,
// and when everything is on the medium. Relative paths are below the volume's root, without a "/"
// at either end. Used by one thread at a time, as the volume is; lives as long as the volume.
class VolumeMedium {
 public:
  virtual ~VolumeMedium() = default;

  // Asked before a directory or a file of that size (bytes) is created: 0, or the errno it fails
  // with.
  virtual int admitDirectory(const std::string& relativePath) = 0;
  virtual int admitFile(const std::string& relativePath, std::int64_t size) = 0;

  // Asked before each chunk of a file's content is written, with its number of bytes (at least 1);
  // may take its time. 0, or the errno that the write fails with.
  virtual int admitBytes(std::int64_t count) = 0;

  // Told of every finished directory and file, in the order of their creation.
  virtual void created(const std::string& relativePath, bool isDirectory) = 0;

  // True when closing a written file takes long, so that it is better done behind the copy's back.
  // Asked once, when the volume is opened.
  virtual bool closesSlowly(int /*rootDescriptor*/) { return false; }

  // Returns when everything below the root is on the medium; false when that can't be promised.
  virtual bool flush(int rootDescriptor) = 0;
};

}  // namespace fillstation
