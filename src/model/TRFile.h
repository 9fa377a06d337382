#pragma once

#include <cstdint>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <variant>
#include <vector>

#include "Atomic.h"
#include "FileManager.h"
#include "Number.h"
#include "Url.h"

namespace fillstation {

class LogBatch;
class TRFile;

// An ordered list of nodes, shared by all its holders.
using TRFileList = std::vector<std::shared_ptr<TRFile>>;

// One node of the source file set: a chosen file, a chosen folder with the flat list of everything
// below it, or one of those descendants. Built on the main thread by one of the builders below, not
// changed afterwards, and then read by any thread. Two nodes are equal exactly when both have a
// path and the paths are equal.
class TRFile {
  struct Fields;
  struct Place;

 public:
  // A field's value as valueForKey() gives it; monostate when absent.
  using Value =
      std::variant<std::monostate, bool, std::string, Number, std::shared_ptr<TRFileList>, Url>;

  // name and path "Empty"; everything else absent, isDir false.
  TRFile();

  // Only the builders can make a place.
  TRFile(Place place, Number size);

  bool isEqual(const TRFile& other) const;
  std::size_t hash() const;
  friend bool operator==(const TRFile& left, const TRFile& right) { return left.isEqual(right); }

  // The root for a chosen item: a folder with everything below it that matches the file type, or a
  // matching file; null for a file of another type or one whose size can't be read. fileType is an
  // extension without the dot, compared ignoring case; absent accepts every file, empty only files
  // without an extension. Walks the whole folder before it returns; meanwhile the window may be
  // repainted and closed. Main thread.
  static std::shared_ptr<TRFile> CreateTRFilesFromURL(const Url& url,
                                                      const std::optional<std::string>& fileType);

  // A file's node, null when it doesn't match the type or its size can't be read.
  static std::shared_ptr<TRFile> CreateTRFile(const Url& url, const Url& relativeUrl,
                                              const std::optional<std::string>& fileType);

  // True when there is a folder at the path, following symbolic links; then also logs it.
  static bool isDir(const std::string& path);

  // Everything below the folder that is a folder or matches the type, in the order of the walk.
  // Reads no field of this node.
  std::shared_ptr<TRFileList> AddDir(const Url& url, const std::optional<std::string>& fileType);

  // The node of a folder below a root; never null.
  std::shared_ptr<TRFile> CreateTRFileAsFolder(const Url& url, const Url& relativeUrl);

  // Stores the address; the flag is accepted and ignored.
  void setUrl(const Url& url, bool isDirectory);
  std::optional<Url> getUrl() const { return url(); }
  std::optional<Url> url() const { return get(&Fields::url, &Place::address); }

  bool isDir() const { return get(&Fields::isDir, &Place::isDirectory); }
  void setIsDir(bool value) { set(&Fields::isDir, value); }
  // Last component of the path.
  std::optional<std::string> name() const { return get(&Fields::name, &Place::name); }
  void setName(std::optional<std::string> value) { set(&Fields::name, std::move(value)); }
  // Absolute path, the node's identity.
  std::optional<std::string> path() const { return get(&Fields::path, &Place::wholePath); }
  void setPath(std::optional<std::string> value) { set(&Fields::path, std::move(value)); }
  // Bytes: a file's own, 0 for a folder below a root, the sum of `files` for a folder root.
  Number size() const { return size_.get(); }
  void setSize(Number value) { size_.set(std::move(value)); }
  // Set for a folder root only: all descendants, each folder before its contents.
  std::shared_ptr<TRFileList> files() const { return get(&Fields::files, &Place::files); }
  void setFiles(std::shared_ptr<TRFileList> value) { set(&Fields::files, std::move(value)); }
  // The destination on a player: "/" for a root, otherwise the escaped path below the chosen
  // folder; a folder's ends in "/".
  std::optional<Url> destRelativeUrl() const {
    return get(&Fields::destRelativeUrl, &Place::addressBelow);
  }
  void setDestRelativeUrl(std::optional<Url> value) {
    set(&Fields::destRelativeUrl, std::move(value));
  }

  // The field of that name; throws std::out_of_range when there is none (an error of the layout).
  Value valueForKey(const std::string& key) const;

 private:
  // All fields of a node except its size.
  struct Fields {
    bool isDir = false;
    std::optional<std::string> name;
    std::optional<std::string> path;
    std::shared_ptr<TRFileList> files;
    std::optional<Url> url;
    std::optional<Url> destRelativeUrl;
  };

  // The place of a node that a walk has found. The fields are derived from it, which saves memory:
  // a set has very many such nodes. It becomes plain fields when one of them is set.
  struct Place {
    bool isDirectory() const { return directory; }
    std::optional<std::string> name() const { return std::string(lastPathComponent(path)); }
    std::optional<std::string> wholePath() const { return path; }
    std::shared_ptr<TRFileList> files() const { return nullptr; }
    std::optional<Url> address() const { return Url::fromPath(path, directory); }
    std::optional<Url> addressBelow() const {
      return Url::withString(Url::fromPath(path, directory).absoluteString().substr(cut));
    }

    std::string path;
    std::uint32_t cut;  // length of the chosen folder's part of the address
    bool directory;
  };

  static std::shared_ptr<TRFile> makeNode(const Url& url, const Url& relativeUrl, Number size,
                                          bool isDirectory);
  // The node of a walk's entry; null when the entry doesn't belong to the set.
  static std::shared_ptr<TRFile> nodeOf(WalkEntry entry, const Url& folder,
                                        const std::optional<std::string>& fileType, LogBatch& log);

  // One lock for many nodes, as in Atomic.
  std::mutex& lock() const { return sharedLockFor(this); }

  template <class T>
  T get(T Fields::*field, T (Place::*following)() const) const {
    const std::scoped_lock guard(lock());
    const auto* const place = std::get_if<Place>(&content_);
    return place != nullptr ? (place->*following)() : *std::get<OwnFields>(content_).*field;
  }
  // The replaced value is destroyed after the lock is released.
  template <class T>
  void set(T Fields::*field, T value) {
    const std::scoped_lock guard(lock());
    std::swap(ownFields().*field, value);
  }
  Fields& ownFields();

  using OwnFields = std::unique_ptr<Fields>;

  std::variant<Place, OwnFields> content_;
  Atomic<Number> size_;
};

// The node's path, "(null)" without one.
std::string textOf(const TRFile& file);

// True when the builders take a file with this path: its extension equals the type, ignoring case
// (see equalIgnoringCase(); an extension that is not UTF-8 equals no type), or the type is absent.
bool matchesFileType(const std::string& path, const std::optional<std::string>& fileType);

// The sum of the sizes in bytes; absent sizes count as 0.
std::int64_t totalSize(const TRFileList& files);

// The number of files in a root: 1 for a file, otherwise the files of the folder.
std::size_t fileCount(const TRFile& root);

}  // namespace fillstation

template <>
struct std::hash<fillstation::TRFile> {
  std::size_t operator()(const fillstation::TRFile& file) const { return file.hash(); }
};
