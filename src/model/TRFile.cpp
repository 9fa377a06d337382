#include "TRFile.h"

#include <algorithm>
#include <map>

#include "Platform.h"
#include "Utf8.h"

namespace fillstation {
namespace {

template <class T>
TRFile::Value valueOf(std::optional<T> field) {
  return field ? TRFile::Value(std::move(*field)) : TRFile::Value();
}

}  // namespace

TRFile::TRFile() : content_(std::make_unique<Fields>()) {
  setName("Empty");
  setPath("Empty");
}

TRFile::TRFile(Place place, Number size) : content_(std::move(place)), size_(std::move(size)) {}

bool TRFile::isEqual(const TRFile& other) const {
  const auto own = path();
  return own && own == other.path();
}

std::size_t TRFile::hash() const { return std::hash<std::optional<std::string>>{}(path()); }

std::shared_ptr<TRFile> TRFile::CreateTRFilesFromURL(const Url& url,
                                                     const std::optional<std::string>& fileType) {
  const Url top = Url::withString("/");
  if (!isDir(url.path())) {
    return CreateTRFile(url, top, fileType);
  }
  const Url folder = Url::fromPath(url.path(), true);
  auto root = makeNode(folder, top, Number(), true);
  root->setFiles(root->AddDir(folder, fileType));
  root->setSize(Number(totalSize(*root->files())));
  return root;
}

std::shared_ptr<TRFile> TRFile::CreateTRFile(const Url& url, const Url& relativeUrl,
                                             const std::optional<std::string>& fileType) {
  if (!matchesFileType(url.path(), fileType)) {
    return nullptr;
  }
  const auto size = platform().fileManager->fileSize(url.path());
  return size ? makeNode(url, relativeUrl, Number(*size), false) : nullptr;
}

bool TRFile::isDir(const std::string& path) {
  bool isDirectory = false;
  platform().fileManager->fileExists(path, &isDirectory);
  if (isDirectory) {
    logText("Is directory");
  }
  return isDirectory;
}

std::shared_ptr<TRFileList> TRFile::AddDir(const Url& url,
                                           const std::optional<std::string>& fileType) {
  auto files = std::make_shared<TRFileList>();
  if (!isDir(url.path())) {
    return files;
  }
  LogBatch log(*platform().systemLog);
  const auto walk = platform().fileManager->walk(url.path(), [&log](const std::string& /*path*/) {
    log.add("error not dir!");
    return true;
  });
  while (auto entry = walk->next()) {
    if (auto node = nodeOf(*std::move(entry), url, fileType, log)) {
      files->push_back(std::move(node));
    }
  }
  return files;
}

std::shared_ptr<TRFile> TRFile::nodeOf(WalkEntry entry, const Url& folder,
                                       const std::optional<std::string>& fileType, LogBatch& log) {
  if (!entry.isDirectory) {
    return nullptr;
  }
  const std::string address = Url::fromPath(entry.path, *entry.isDirectory).absoluteString();
  // The part of the entry's address below the folder's, found by length alone.
  const auto cut = std::min(folder.absoluteString().size(), address.size());
  log.add(address);
  if (!*entry.isDirectory && (!entry.size || !matchesFileType(entry.path, fileType))) {
    return nullptr;
  }
  const Number size(*entry.isDirectory ? 0 : *entry.size);
  return std::make_shared<TRFile>(
      Place{std::move(entry.path), static_cast<std::uint32_t>(cut), *entry.isDirectory}, size);
}

std::shared_ptr<TRFile> TRFile::CreateTRFileAsFolder(const Url& url, const Url& relativeUrl) {
  return makeNode(url, relativeUrl, Number(0), true);
}

void TRFile::setUrl(const Url& url, bool /*isDirectory*/) {
  set(&Fields::url, std::optional<Url>(url));
}

TRFile::Fields& TRFile::ownFields() {
  if (const auto* const place = std::get_if<Place>(&content_)) {
    content_ =
        std::make_unique<Fields>(Fields{place->isDirectory(), place->name(), place->wholePath(),
                                        place->files(), place->address(), place->addressBelow()});
  }
  return *std::get<OwnFields>(content_);
}

TRFile::Value TRFile::valueForKey(const std::string& key) const {
  using Getter = Value (*)(const TRFile&);
  static const std::map<std::string, Getter> getters{
      {"isDir", [](const TRFile& node) -> Value { return node.isDir(); }},
      {"name", [](const TRFile& node) { return valueOf(node.name()); }},
      {"path", [](const TRFile& node) { return valueOf(node.path()); }},
      {"size", [](const TRFile& node) { return node.size() ? Value(node.size()) : Value(); }},
      {"files", [](const TRFile& node) { return node.files() ? Value(node.files()) : Value(); }},
      {"url", [](const TRFile& node) { return valueOf(node.url()); }},
      {"destRelativeUrl", [](const TRFile& node) { return valueOf(node.destRelativeUrl()); }}};
  return getters.at(key)(*this);
}

std::shared_ptr<TRFile> TRFile::makeNode(const Url& url, const Url& relativeUrl, Number size,
                                         bool isDirectory) {
  auto node = std::make_shared<TRFile>();
  node->setPath(url.path());
  node->setName(std::string(lastPathComponent(url.path())));
  node->setSize(std::move(size));
  node->setUrl(url, isDirectory);
  node->setIsDir(isDirectory);
  node->setDestRelativeUrl(relativeUrl);
  return node;
}

std::string textOf(const TRFile& file) { return textOf(file.path()); }

bool matchesFileType(const std::string& path, const std::optional<std::string>& fileType) {
  return !fileType || equalIgnoringCase(*fileType, pathExtension(path));
}

std::int64_t totalSize(const TRFileList& files) {
  // Unsigned, so that sums out of range wrap.
  std::uint64_t total = 0;
  for (const auto& file : files) {
    total += static_cast<std::uint64_t>(file->size().value());
  }
  return static_cast<std::int64_t>(total);
}

std::size_t fileCount(const TRFile& root) {
  const auto nodes = root.files();
  if (!root.isDir() || !nodes) {
    return root.isDir() ? 0 : 1;
  }
  return static_cast<std::size_t>(
      std::count_if(nodes->begin(), nodes->end(), [](const auto& node) { return !node->isDir(); }));
}

}  // namespace fillstation
