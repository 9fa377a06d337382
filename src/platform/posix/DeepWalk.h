#pragma once

#include <cstddef>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "FileHandle.h"
#include "FileManager.h"

namespace fillstation {

// Appends the name's sort key: players are filled in the order of the keys' bytes. In it, case and
// accents don't count, and a run of decimal digits counts by its value ("2" before "10"); names
// that are alike so far are ordered by their bytes ("007" before "7"). So no two names have the
// same key. Knows no locale; a name that is not UTF-8 is taken for Latin 1.
void appendSortKey(std::string_view name, std::string& keys);

// A deep walk of a real folder. Each folder is read and sorted when the walk enters it, so that at
// no time more than one descriptor is open, however deep the tree is; every entry is looked at
// once. One thread.
class DeepWalk : public DirectoryWalk {
 public:
  // onStep, if there is one, is called for each entry when it is looked at and when it is yielded.
  DeepWalk(std::string folder, FileManager::WalkErrorHandler onError,
           std::function<void()> onStep = {});

  std::optional<WalkEntry> next() override;

 private:
  // Bytes of entries that are read at once.
  static constexpr std::size_t kEntries = 32768;

  struct Child {
    std::size_t key = 0;   // begins in the level's keys
    std::size_t name = 0;  // the key's end is the name itself
    std::size_t end = 0;
    std::optional<bool> isDirectory;
    std::optional<std::int64_t> size;
  };
  // One folder on the way down.
  struct Level {
    std::size_t pathLength = 0;   // of path_ with the folder's name and a "/"
    std::string keys;             // of all children, one behind the other
    std::vector<Child> children;  // what is still to come, the next one last

    std::string_view keyOf(const Child& child) const {
      return std::string_view(keys).substr(child.key, child.end - child.key);
    }
    std::string_view nameOf(const Child& child) const {
      return std::string_view(keys).substr(child.name, child.end - child.name);
    }
  };

  // Reads the folder at path_ and makes it the lowest level. False when the walk is to end.
  bool enter();
  // Fills in what the folder holds; false when that can't be read to its end.
  bool readFolder(const FileHandle& folder, Level& level);
  // Appends the entry of that name (a null byte is behind it), unless it is a link to nothing or to
  // a folder.
  void lookAt(int folder, std::string_view name, Level& level);

  std::string path_;  // of the entry that was yielded last
  FileManager::WalkErrorHandler onError_;
  std::function<void()> onStep_;
  std::vector<Level> levels_;
  std::vector<char> entries_ = std::vector<char>(kEntries);  // as the kernel gives them
  Level spare_;            // a level that is done with, for its memory
  bool enterNext_ = true;  // what path_ names is a folder to be entered
};

}  // namespace fillstation
