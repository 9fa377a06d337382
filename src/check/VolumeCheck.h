#pragma once

#include <cstddef>
#include <string>

#include "DirectoryOrder.h"
#include "FileSet.h"

namespace fillstation {

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
