#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "FatImage.h"

namespace fillstation {

// One new directory or file of a mounted volume, its path below the volume's folder.
struct NewEntry {
  std::string path;
  bool isDirectory = false;
};

// Writes the new content of a volume's folder into the image's FAT32 with mtools, in the given
// order, which thereby becomes the directory order. One thread; the descriptor stays the caller's.
//
// mtools takes some letters for patterns, refuses some names that FAT can hold and cuts characters
// beyond the first 65,536 short. So it gets plain names of as many code units, which are then
// replaced in the directory itself. Directories on the way are named to it by their short names.
class ImageWriter {
 public:
  ImageWriter(int image, std::string folder);

  // Parents come before what is in them. False as soon as something fails. Once it has returned
  // true everything is on the disk beneath.
  bool write(const std::vector<NewEntry>& entries);

 private:
  // A directory of the image.
  struct Place {
    std::string toolPath;  // "::/", short names, with a "/" at the end
    std::uint32_t cluster = 0;
  };
  struct Group;

  bool writeGroup(const Group& group);
  // False when an entry is not there, or not all of it.
  bool replaceStandIns(const FatImage& image, const std::optional<FatDirectory>& written,
                       const Group& group, const std::vector<std::string>& standIns) const;
  // The place of a directory, null when the image has none.
  const Place* place(const std::string& directory);
  // Another name of as many code units, which a short name can't hold.
  std::string nextStandIn(const std::string& name);

  int image_;
  std::string folder_;
  std::map<std::string, Place> places_;
  std::uint32_t standIns_ = 0;
};

}  // namespace fillstation
