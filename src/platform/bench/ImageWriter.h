#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <utility>
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
// beyond the first 65,536 short. Such a name is therefore written as a stand-in of as many code
// units, which is then replaced in the directory itself. Directories on the way are named to mtools
// by their short names.
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
  // An entry under the name that mtools gets, and the name that replaces it then.
  struct Named {
    std::string path;
    std::u16string standIn;
    std::u16string name;
  };
  struct Group;

  bool writeGroup(const Group& group);
  bool writeDirectories(const Place& parent, const std::vector<Named>& entries) const;
  bool writeFiles(const Place& parent, const std::vector<Named>& entries) const;
  bool replaceStandIns(const Place& parent, const std::vector<Named>& entries) const;
  const Place* place(const std::string& directory);
  Named named(const std::string& path);
  // The words that begin a command of mtools on this image.
  std::vector<std::string> command(const char* tool) const;

  int image_;
  std::string folder_;
  std::map<std::string, Place> places_;
  std::uint32_t standIns_ = 0;
};

}  // namespace fillstation
