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

// Appends the name's sort key: players are filled in the order of the keys' bytes. The key ignores
// case and accents, and orders runs of decimal digits by value ("2" before "10"); names that are
// then equal are ordered by their bytes ("007" before "7"). So no two names have the same key.
// Independent of the locale; a name that is not UTF-8 is read as Latin 1.
void appendSortKey(std::string_view name, std::string& keys);

// A deep walk of a real folder. It reads and sorts each folder when it enters it, so that at most
// one descriptor is open at any depth; it looks at every entry once. One thread.
class DeepWalk : public DirectoryWalk {
 public:
  // onStep, if given, is called for each entry when it is looked at and when it is yielded.
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
    std::vector<Child> children;  // the remaining entries, the next one last

    std::string_view keyOf(const Child& child) const {
      return std::string_view(keys).substr(child.key, child.end - child.key);
    }
    std::string_view nameOf(const Child& child) const {
      return std::string_view(keys).substr(child.name, child.end - child.name);
    }
  };

  // Reads the folder at path_ and makes it the lowest level. False if the walk must end.
  bool enter();
  // Reads the entries of the folder; false if that fails.
  bool readFolder(const FileHandle& folder, Level& level);
  // Appends the entry of that name, which a null byte follows, unless it is a dangling link or a
  // link to a folder.
  void lookAt(int folder, std::string_view name, Level& level);

  std::string path_;  // of the entry that was yielded last
  FileManager::WalkErrorHandler onError_;
  std::function<void()> onStep_;
  std::vector<Level> levels_;
  std::vector<char> entries_ = std::vector<char>(kEntries);  // as the kernel gives them
  Level spare_;            // a level that is done with, for its memory
  bool enterNext_ = true;  // path_ is a folder that is walked next
};

}  // namespace fillstation
