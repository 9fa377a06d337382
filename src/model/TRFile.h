#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <variant>
#include <vector>

#include "Atomic.h"
#include "Number.h"
#include "Object.h"
#include "Url.h"

namespace fillstation {

class TRFile;

// An ordered list of nodes, shared by everybody who was handed it.
using TRFileList = std::vector<std::shared_ptr<TRFile>>;

// One node of the source file set: a chosen file, a chosen folder with the flat list of everything
// below it, or one of those descendants. Built on the main thread by one of the builders below, not
// changed afterwards, and then read by any thread. Two nodes are equal exactly when both have a
// path and the paths are equal.
class TRFile : public Object {
 public:
  // A field's value as valueForKey() gives it; monostate when absent.
  using Value =
      std::variant<std::monostate, bool, std::string, Number, std::shared_ptr<TRFileList>, Url>;

  // name and path "Empty"; everything else absent, isDir false.
  TRFile();

  bool isEqual(const Object& other) const override;
  std::size_t hash() const override;

  // The root for a chosen item: a folder with everything below it that matches the file type, or a
  // file that matches; null for a file of another type or one whose size can't be read. fileType is
  // a bare extension compared without regard to case; absent accepts every file, empty only files
  // without an extension. Walks the whole folder before it returns. Main thread.
  static std::shared_ptr<TRFile> CreateTRFilesFromURL(const Url& url,
                                                      const std::optional<std::string>& fileType);

  // A file's node, null when it doesn't match the type or its size can't be read.
  static std::shared_ptr<TRFile> CreateTRFile(const Url& url, const Url& relativeUrl,
                                              const std::optional<std::string>& fileType);

  // True when there is a folder at the path, symbolic links followed; says so in the log then.
  static bool isDir(const std::string& path);

  // Everything below the folder that is a folder or matches the type, in the order of the walk.
  // Reads no field of this node.
  std::shared_ptr<TRFileList> AddDir(const Url& url, const std::optional<std::string>& fileType);

  // The node of a folder below a root; never null.
  std::shared_ptr<TRFile> CreateTRFileAsFolder(const Url& url, const Url& relativeUrl);

  // Stores the address; the flag is accepted and ignored.
  void setUrl(const Url& url, bool isDirectory);
  std::optional<Url> getUrl() const { return url_.get(); }
  std::optional<Url> url() const { return url_.get(); }

  bool isDir() const { return isDir_.get(); }
  void setIsDir(bool value) { isDir_.set(value); }
  // Last component of the path.
  std::optional<std::string> name() const { return name_.get(); }
  void setName(std::optional<std::string> value) { name_.set(std::move(value)); }
  // Absolute path, the node's identity.
  std::optional<std::string> path() const { return path_.get(); }
  void setPath(std::optional<std::string> value) { path_.set(std::move(value)); }
  // Bytes: a file's own, 0 for a folder below a root, the sum of `files` for a folder root.
  Number size() const { return size_.get(); }
  void setSize(Number value) { size_.set(std::move(value)); }
  // Present on a folder root only: all descendants, each folder before what it holds.
  std::shared_ptr<TRFileList> files() const { return files_.get(); }
  void setFiles(std::shared_ptr<TRFileList> value) { files_.set(std::move(value)); }
  // Where the node goes on a player: "/" for a root, else the escaped path below the chosen folder,
  // a folder's ending in "/".
  std::optional<Url> destRelativeUrl() const { return destRelativeUrl_.get(); }
  void setDestRelativeUrl(std::optional<Url> value) { destRelativeUrl_.set(std::move(value)); }

  // The field of that name; throws std::out_of_range when there is none (an error of the layout).
  Value valueForKey(const std::string& key) const;

 private:
  static std::shared_ptr<TRFile> makeNode(const Url& url, const Url& relativeUrl, Number size,
                                          bool isDirectory);

  Atomic<bool> isDir_{false};
  Atomic<std::optional<std::string>> name_;
  Atomic<std::optional<std::string>> path_;
  Atomic<Number> size_;
  Atomic<std::shared_ptr<TRFileList>> files_;
  Atomic<std::optional<Url>> url_;
  Atomic<std::optional<Url>> destRelativeUrl_;
};

// The node's path, "(null)" without one.
std::string textOf(const TRFile& file);

// True when the builders take a file of this path: its extension equals the type without regard to
// case (see equalIgnoringCase(); an extension that is not UTF-8 equals no type), or the type is
// absent.
bool matchesFileType(const std::string& path, const std::optional<std::string>& fileType);

// The sum of the sizes in bytes, an absent one counting 0.
std::int64_t totalSize(const TRFileList& files);

}  // namespace fillstation

template <>
struct std::hash<fillstation::TRFile> {
  std::size_t operator()(const fillstation::TRFile& file) const { return file.hash(); }
};
