#include "VolumeCheck.h"

#include <QCryptographicHash>
#include <algorithm>
#include <array>
#include <filesystem>
#include <map>
#include <memory>
#include <set>
#include <stdexcept>
#include <system_error>
#include <utility>

#include "Platform.h"
#include "PosixFileManager.h"
#include "TRFile.h"

namespace fillstation {

namespace {

// What a walk needs of the system: the real files, and a log that writes nothing. Remembers a
// folder that the window would leave out.
class Ports : public VolumeOwner, public SystemLog, public PosixFileManager {
 public:
  explicit Ports(const StopSource& stop) : PosixFileManager(*this, stop) {
    platform().fileManager = this;
    platform().systemLog = this;
  }

  std::shared_ptr<VolumeMedium> mediumOf(int, const std::string&, const DiskIdentity&) override {
    return nullptr;
  }
  std::optional<std::string> remount(const DiskIdentity&, const std::string&) override {
    return std::nullopt;
  }
  void write(std::string_view) override {}
  std::unique_ptr<DirectoryWalk> walk(const std::string& folder, WalkErrorHandler) override {
    return PosixFileManager::walk(folder, [this](const std::string& path) {
      unreadable = path;
      return false;
    });
  }

  std::string unreadable;
};

TRFileList nodesBelow(const Url& folder, const std::string& fileType, const Ports& ports) {
  const auto root = TRFile::CreateTRFilesFromURL(folder, fileType);
  if (!root || !root->isDir() || !ports.unreadable.empty()) {
    throw std::runtime_error("Can't read the folder " +
                             (ports.unreadable.empty() ? folder.path() : ports.unreadable));
  }
  return *root->files();
}

// As reading past the page cache wants it.
struct alignas(4096) Piece {
  std::array<char, 1 << 20> bytes;
};

// SHA-256 of a file of that size, empty when it can't be read.
QByteArray contentHash(int file, std::int64_t size, const OnBytes& onBytes) {
  const auto piece = std::make_unique<Piece>();
  QCryptographicHash hash(QCryptographicHash::Sha256);
  for (std::int64_t at = 0; at < size;) {
    const auto got = KernelCalls::real().readAt(file, &piece->bytes, sizeof(Piece), at);
    if (got <= 0 || at + got > size) {
      return {};
    }
    hash.addData(QByteArrayView(piece->bytes.data(), got));
    at += got;
    onBytes(got);
  }
  return hash.result();
}

}  // namespace

FileSet fileSetOf(const std::vector<std::string>& folders, const std::string& fileType) {
  const StopSource stop;
  Ports ports(stop);
  FileSet set;
  std::set<std::string> chosen;
  std::map<std::string, bool> areFolders;
  for (const auto& folder : folders) {
    const Url url = Url::fromPath(std::filesystem::absolute(folder).string(), true);
    if (!chosen.insert(url.path()).second) {
      continue;  // the window refuses it
    }
    for (const auto& node : nodesBelow(url, fileType, ports)) {
      const std::string name = node->destRelativeUrl().value_or(Url()).path();
      const auto [known, isNew] = areFolders.emplace(name, node->isDir());
      if (isNew) {
        set.push_back({node->path().value_or(""), name, node->isDir(), node->size().value(), {}});
      } else if (!known->second || !node->isDir()) {
        throw std::runtime_error("Two of the folders hold " + name);
      }
    }
  }
  if (std::all_of(set.begin(), set.end(), [](const auto& entry) { return entry.isDirectory; })) {
    throw std::runtime_error("The folders hold no file of the type " + fileType);
  }
  return set;
}

void hashSources(FileSet& set, const OnBytes& onBytes) {
  for (auto& entry : set) {
    struct stat status {};
    const FileHandle file =
        entry.isDirectory ? FileHandle() : openRegularFile(entry.source, status);
    if (file && status.st_size == entry.size) {
      entry.hash = contentHash(file.get(), entry.size, onBytes);
    }
    if (!entry.isDirectory && entry.hash.isEmpty()) {
      throw std::runtime_error("Can't read the file " + entry.source);
    }
  }
}

VolumeCheck::VolumeCheck(FileHandle root, std::string path)
    : root_(std::move(root)),
      path_(std::move(path)),
      inOrder_(root_.get(), DirectoryOrder::keptOn(root_.get()), false),
      anywhere_(root_.get(), false) {}

std::string VolumeCheck::compareWith(const FileSet& set, const OnBytes& onBytes) {
  std::string first;
  for (const auto& entry : set) {
    const std::string fault = faultOf(entry, onBytes);
    if (!fault.empty() && different_++ == 0) {
      first = "; the first: " + entry.name + ' ' + fault;
    }
  }
  const std::string all = std::to_string(set.size()) + " files and folders";
  return path_ +
         (equal() ? ": equal, " + all
                  : ": different, " + std::to_string(different_) + " of " + all + first) +
         others();
}

std::string VolumeCheck::faultOf(const SetEntry& entry, const OnBytes& onBytes) {
  const auto path = componentsBelow("", '/' + entry.name).value_or(Components());
  const auto status = inOrder_.next(path, entry.isDirectory);
  const bool isThere = status || anywhere_.next(path, entry.isDirectory);
  found_ += isThere ? 1 : 0;
  if (status && !entry.isDirectory && status->st_size == entry.size) {
    return faultOfContent(path, entry, onBytes);
  }
  onBytes(entry.size);
  if (!status) {
    return isThere ? "is out of order" : "is missing";
  }
  return entry.isDirectory ? "" : "has " + std::to_string(status->st_size) + " bytes";
}

std::string VolumeCheck::faultOfContent(const Components& path, const SetEntry& entry,
                                        const OnBytes& onBytes) const {
  const FileHandle file = openMediumFileBelow(root_.get(), path, KernelCalls::real());
  QByteArray hash = contentHash(file.get(), entry.size, onBytes);
  if (hash != entry.hash) {
    // A disturbance on the way is no fault of the medium: what differs is read once more.
    hash = contentHash(file.get(), entry.size, [](std::int64_t) {});
  }
  if (hash == entry.hash) {
    return {};
  }
  return hash.isEmpty() ? "can't be read" : "has different content";
}

std::string VolumeCheck::others() const {
  std::error_code error;
  std::size_t entries = 0;
  for (auto entry = std::filesystem::recursive_directory_iterator(path_, error);
       entry != std::filesystem::recursive_directory_iterator(); entry.increment(error)) {
    ++entries;
  }
  return entries > found_ ? "; not in the folders: " + std::to_string(entries - found_) : "";
}

}  // namespace fillstation
