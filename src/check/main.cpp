#include <fcntl.h>
#include <unistd.h>

#include <QByteArray>
#include <QCryptographicHash>
#include <QRegularExpression>
#include <QString>
#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <deque>
#include <exception>
#include <filesystem>
#include <functional>
#include <future>
#include <map>
#include <memory>
#include <mutex>
#include <set>
#include <stdexcept>
#include <string>
#include <system_error>
#include <utility>
#include <vector>

#include "BelowRoot.h"
#include "Platform.h"
#include "PosixFileManager.h"
#include "TRFile.h"

namespace {

using namespace fillstation;

// One file or folder that a filled player holds. A plain value.
struct SetEntry {
  std::string source;  // absolute path
  std::string name;    // path below the volume's root
  bool isDirectory = false;
  std::int64_t size = 0;  // bytes
  QByteArray hash;        // of a file's content; empty until hashSources()
};
using FileSet = std::vector<SetEntry>;

// Called with the number of bytes that were read.
using OnBytes = std::function<void(std::int64_t)>;

// The system for a walk: the real files, and a log that writes nothing. Remembers a folder that the
// window would leave out.
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

// Required for reading past the page cache.
struct alignas(4096) Piece {
  std::array<char, 1 << 20> bytes;
};

// SHA-256 of a file of that size, empty when it can't be read.
QByteArray contentHash(int file, std::int64_t size, const OnBytes& onBytes) {
  const auto piece = std::make_unique<Piece>();
  QCryptographicHash hash(QCryptographicHash::Sha256);
  for (std::int64_t at = 0; at < size;) {
    const auto got = ::pread(file, &piece->bytes, sizeof(Piece), at);
    if (got <= 0 || at + got > size) {
      return {};
    }
    hash.addData(QByteArrayView(piece->bytes.data(), got));
    at += got;
    onBytes(got);
  }
  return hash.result();
}

// The files and folders that the window would copy from these folders, in its order. Throws
// std::runtime_error, with a text for the user, when a folder can't be read, no file has the type,
// or two folders contain a file with the same path, of which a player can have only one. Main
// thread.
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
        throw std::runtime_error("Two of the folders contain " + name);
      }
    }
  }
  if (std::ranges::all_of(set, &SetEntry::isDirectory)) {
    throw std::runtime_error("The folders contain no file of the type " + fileType);
  }
  return set;
}

// Throws as above when a file can't be read.
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

// Compares one volume with a set, to the last byte and read from the medium. Other files on the
// volume are no difference. Changes nothing. One thread.
class VolumeCheck {
 public:
  // The open root directory of the volume, and its path.
  VolumeCheck(FileHandle root, std::string path)
      : root_(std::move(root)),
        path_(std::move(path)),
        inOrder_(root_.get(), DirectoryOrder::keptOn(root_.get()), false),
        anywhere_(root_.get(), false) {}

  // Called once. One line: the volume is equal, or the first difference and the number of
  // differences.
  std::string compareWith(const FileSet& set, const OnBytes& onBytes) {
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
  bool equal() const { return different_ == 0; }

 private:
  // The difference of an entry, empty for none.
  std::string faultOf(const SetEntry& entry, const OnBytes& onBytes) {
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

  std::string faultOfContent(const Components& path, const SetEntry& entry,
                             const OnBytes& onBytes) const {
    const FileHandle file = openMediumFileBelow(root_.get(), path);
    QByteArray hash = contentHash(file.get(), entry.size, onBytes);
    if (hash != entry.hash) {
      // A disturbed transfer is no fault of the medium: a difference is read once more.
      hash = contentHash(file.get(), entry.size, [](std::int64_t) {});
    }
    if (hash == entry.hash) {
      return {};
    }
    return hash.isEmpty() ? "can't be read" : "has different content";
  }

  // The number of other entries on the volume, as a text; empty for none.
  std::string others() const {
    std::error_code error;
    std::size_t entries = 0;
    for (auto entry = std::filesystem::recursive_directory_iterator(path_, error);
         entry != std::filesystem::recursive_directory_iterator(); entry.increment(error)) {
      ++entries;
    }
    return entries > found_ ? "; not in the folders: " + std::to_string(entries - found_) : "";
  }

  const FileHandle root_;
  const std::string path_;
  DirectoryOrder inOrder_;
  DirectoryOrder anywhere_;
  std::size_t found_ = 0;
  std::size_t different_ = 0;
};

constexpr int kEqual = 0;
constexpr int kDifferent = 1;
constexpr int kError = 2;
constexpr const char* kUsage =
    "Usage: fillstation-check [--type TYPE] FOLDER... -- MOUNTPOINT...\n";
constexpr const char* kHelp = R"(
Compares mounted players with the folders that they were filled from: names, order, sizes and every
byte. Prints one line for each player. Changes nothing.

  --type TYPE  the file type that was chosen in the window; the default is mp3
  --help       this text

The exit status is 0 if all players are equal, 1 if any differs, 2 if they can't be compared.
)";

// The command line. A plain value.
struct Arguments {
  // False when the words don't match the usage.
  bool read(const std::vector<std::string>& words) {
    auto word = words.begin();
    for (; word != words.end() && *word != "--"; ++word) {
      if (*word == "--type" && word + 1 != words.end()) {
        type = *++word;
      } else if (word->starts_with('-')) {
        return false;
      } else {
        folders.push_back(*word);
      }
    }
    mountPoints.assign(word == words.end() ? word : word + 1, words.end());
    return !folders.empty() && !mountPoints.empty();
  }

  std::string type = "mp3";
  std::vector<std::string> folders;
  std::vector<std::string> mountPoints;
};

// The line without characters that control a terminal: file names can contain any.
std::string printable(const std::string& line) {
  static const QRegularExpression kActing(QStringLiteral("[\\p{Cc}\\p{Cf}\\p{Zl}\\p{Zp}]"));
  return QString::fromStdString(line).replace(kActing, QChar(0xFFFD)).toStdString() + '\n';
}

// Lines on standard output, and below them a progress bar if standard error is a terminal. Any
// thread.
class Progress {
 public:
  explicit Progress(std::int64_t bytes) : bytes_(::isatty(STDERR_FILENO) == 1 ? bytes : 0) {}
  ~Progress() { hide(); }

  void add(std::int64_t bytes) {
    const std::scoped_lock guard(lock_);
    done_ += bytes;
    const int percent = bytes_ == 0 ? -1 : static_cast<int>(100 * done_ / bytes_);
    if (percent != shown_) {
      shown_ = percent;
      const std::string bar(static_cast<std::size_t>(percent / 2), '#');
      std::fprintf(stderr, "\r[%-50s] %d %%", bar.c_str(), percent);
    }
  }
  void print(const std::string& line) {
    const std::scoped_lock guard(lock_);
    hide();
    std::fputs(printable(line).c_str(), stdout);
    std::fflush(stdout);
  }

 private:
  void hide() { std::fputs(std::exchange(shown_, -1) >= 0 ? "\r\033[K" : "", stderr); }

  std::mutex lock_;
  const std::int64_t bytes_;
  std::int64_t done_ = 0;
  int shown_ = -1;  // percent
};

std::deque<VolumeCheck> openVolumes(const std::vector<std::string>& mountPoints) {
  std::deque<VolumeCheck> volumes;
  for (const auto& path : mountPoints) {
    FileHandle root = openLongPath(path, O_RDONLY | O_DIRECTORY);
    if (!root) {
      throw std::runtime_error("Can't read the mount point " + path);
    }
    volumes.emplace_back(std::move(root), path);
  }
  return volumes;
}

int compare(const Arguments& arguments) {
  auto volumes = openVolumes(arguments.mountPoints);
  FileSet set = fileSetOf(arguments.folders, arguments.type);
  std::int64_t bytes = 0;
  for (const auto& entry : set) {
    bytes += entry.size;
  }
  Progress progress(bytes * static_cast<std::int64_t>(1 + volumes.size()));
  const OnBytes onBytes = [&](std::int64_t count) { progress.add(count); };
  hashSources(set, onBytes);
  std::vector<std::future<std::string>> lines;
  for (auto& volume : volumes) {
    lines.push_back(
        std::async(std::launch::async, [&] { return volume.compareWith(set, onBytes); }));
  }
  for (auto& line : lines) {
    progress.print(line.get());
  }
  return std::ranges::all_of(volumes, &VolumeCheck::equal) ? kEqual : kDifferent;
}

}  // namespace

int main(int argc, char** argv) {
  const std::vector<std::string> words(argv + 1, argv + argc);
  Arguments arguments;
  if (words == std::vector<std::string>{"--help"}) {
    std::fputs(kUsage, stdout);
    std::fputs(kHelp, stdout);
    return kEqual;
  }
  try {
    if (arguments.read(words)) {
      allowManyOpenFiles();
      return compare(arguments);
    }
    std::fprintf(stderr, "%sTry 'fillstation-check --help'.\n", kUsage);
  } catch (const std::exception& error) {
    std::fputs(printable(std::string("fillstation-check: ") + error.what()).c_str(), stderr);
  }
  return kError;
}
