#pragma once

#include <dirent.h>
#include <sys/stat.h>

#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "FileHandle.h"

namespace fillstation {

// The names on the way from a volume's root to a file or folder.
using Components = std::vector<std::string>;

// The names in a destination below the mount path (which has no "/" at its end), without dots at
// the end of a name, which FAT drops. None if the destination is not below it, has a zero byte, or
// has a name that consists of dots.
std::optional<Components> componentsBelow(std::string_view mountPath, std::string_view destination);

// The directory of that name below another, opened with these flags and O_DIRECTORY; no handle if
// there is none on the file system of `root`. Follows no symbolic link.
FileHandle openFolderBelow(int root, int parent, const std::string& name, int flags);

// The file at that path below the root, to be read from the medium: past the page cache if the file
// system can, and then in whole blocks of 4096 bytes into aligned memory. No handle if there is
// none.
FileHandle openMediumFileBelow(int root, const Components& path);

// Looks up the created files and folders of a volume in the order of their creation. On FAT the
// directories must have that order too, since players play the first entry first. Other entries are
// skipped. One thread; the descriptor of the root outlives it.
class DirectoryOrder {
 public:
  // Whether the file system keeps the order of creation, as FAT does; whether the list may have a
  // folder twice, because two chosen folders contain it.
  explicit DirectoryOrder(int root, bool keepsOrder, bool comesAgain = true)
      : root_(root), keepsOrder_(keepsOrder), comesAgain_(comesAgain) {}

  // As above, for the volume with that root.
  static bool keptOn(int root);

  // The status of the entry at that path, a folder or a file as asked; none if it isn't there, or
  // is before one that was found earlier.
  std::optional<struct stat> next(const Components& path, bool isDirectory);

 private:
  // A directory on the way down, read as far as it was compared.
  struct Level {
    struct Closing {
      void operator()(DIR* open) const { ::closedir(open); }
    };

    std::string name;  // empty for the root
    std::unique_ptr<DIR, Closing> directory;
  };

  bool enter(const Components& path);
  bool push(const std::string& name);
  // Whether the entry is after the previous one. If so, reads the directory up to it; otherwise no
  // further than before.
  static bool comesNext(DIR* directory, const std::string& name, ino_t inode);

  const int root_;
  const bool keepsOrder_;
  const bool comesAgain_;
  std::vector<Level> levels_;
};

}  // namespace fillstation
