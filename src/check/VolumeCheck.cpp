#include "VolumeCheck.h"

#include <filesystem>
#include <system_error>
#include <utility>

namespace fillstation {

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
