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

// What follows the mount path (without a "/" at its end) in a destination, without the dots at the
// end of a name, which FAT doesn't keep; none when the destination is not below it or holds a zero
// byte or a name of dots alone.
std::optional<Components> componentsBelow(std::string_view mountPath, std::string_view destination);

// The directory of that name below another, opened with these flags besides O_DIRECTORY; no handle
// when there is none on the file system of `root`. Follows no symbolic link.
FileHandle openFolderBelow(int root, int parent, const std::string& name, int flags);

// The file at that path below the root, to be read from the medium: past the page cache where the
// file system can, and then by whole blocks of 4096 bytes into memory aligned to them. No handle
// when there is none.
FileHandle openMediumFileBelow(int root, const Components& path);

// Looks up what was created on a volume, in the order of its creation; on FAT the directories must
// hold it in that order too, since players play what comes first. What else a directory holds is
// passed over. One thread; the descriptor of the root outlives it.
class DirectoryOrder {
 public:
  // Whether the file system keeps the order of creation, as FAT does; whether a folder may come
  // again in the list, as when two chosen ones have it in common.
  explicit DirectoryOrder(int root, bool keepsOrder, bool comesAgain = true)
      : root_(root), keepsOrder_(keepsOrder), comesAgain_(comesAgain) {}

  // As above, for the volume with that root.
  static bool keptOn(int root);

  // The status of the entry at that path, a folder or not as asked; none when it isn't there, or
  // lies before one that was found earlier.
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
  // Whether the entry is behind the one before; the directory is read up to it then, and no further
  // than before otherwise.
  static bool comesNext(DIR* directory, const std::string& name, ino_t inode);

  const int root_;
  const bool keepsOrder_;
  const bool comesAgain_;
  std::vector<Level> levels_;
};

}  // namespace fillstation
