#pragma once

#include <QByteArray>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include "BelowRoot.h"

namespace fillstation {

// One file or folder that a filled player holds. A plain value.
struct SetEntry {
  std::string source;  // absolute path
  std::string name;    // path below the volume's root
  bool isDirectory = false;
  std::int64_t size = 0;  // bytes
  QByteArray hash;        // of a file's content; empty until hashSources()
};
using FileSet = std::vector<SetEntry>;

// Told of the bytes that were read.
using OnBytes = std::function<void(std::int64_t)>;

// What the window puts onto a player from these folders, in its order. Throws std::runtime_error,
// with a text for the user, when a folder can't be read, no file is of the type, or two folders
// hold a file of the same name, which no player can then hold both. Main thread.
FileSet fileSetOf(const std::vector<std::string>& folders, const std::string& fileType);

// Throws as above when a file can't be read.
void hashSources(FileSet& set, const OnBytes& onBytes);

// Compares one volume with a set, to the last byte and from the medium. What else the volume holds
// is no difference. Changes nothing. One thread.
class VolumeCheck {
 public:
  // The directory open on the volume's root, and its path.
  VolumeCheck(FileHandle root, std::string path);

  // Called once. One line: whether the volume is equal, or what differs first and how many do.
  std::string compareWith(const FileSet& set, const OnBytes& onBytes);
  bool equal() const { return different_ == 0; }

 private:
  // What is wrong with an entry, empty when nothing is.
  std::string faultOf(const SetEntry& entry, const OnBytes& onBytes);
  std::string faultOfContent(const Components& path, const SetEntry& entry,
                             const OnBytes& onBytes) const;
  // How many other entries the volume has, empty when none.
  std::string others() const;

  const FileHandle root_;
  const std::string path_;
  DirectoryOrder inOrder_;
  DirectoryOrder anywhere_;
  std::size_t found_ = 0;
  std::size_t different_ = 0;
};

}  // namespace fillstation
