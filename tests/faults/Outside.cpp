#include "Outside.h"

#include <QCryptographicHash>
#include <QFile>
#include <filesystem>

namespace fillstation::faults {

namespace {

// More names than any case has players: the nodes are names only, nothing may come of them.
constexpr int kNodes = 16;

}  // namespace

std::string digestOf(const std::string& path) {
  QFile file(QString::fromStdString(path));
  QCryptographicHash hash(QCryptographicHash::Sha256);
  if (!file.open(QIODevice::ReadOnly) || !hash.addData(&file)) {
    return {};
  }
  return hash.result().toHex().toStdString();
}

Outside::Outside(const std::string& folder, const std::set<std::string>& players) {
  namespace fs = std::filesystem;
  for (auto entry = fs::recursive_directory_iterator(folder); entry != fs::end(entry); ++entry) {
    const fs::path& path = entry->path();
    if (path.filename() == "volumes" && entry->is_directory()) {
      entry.disable_recursion_pending();
      continue;
    }
    const bool isImage = path.extension() == ".img";
    if (entry->is_directory() || (isImage && players.contains(path.stem()))) {
      continue;
    }
    digests_[isImage ? path.filename() : fs::relative(path, folder)] = digestOf(path);
  }
  for (int number = 0; number < kNodes; ++number) {
    const std::string node = "/dev/vp" + std::to_string(number);
    if (fs::exists(node)) {
      digests_[node] = "there";
    }
  }
}

std::vector<std::string> Outside::changesSince(const Outside& before) const {
  std::vector<std::string> changes;
  for (const auto& [name, digest] : digests_) {
    const auto was = before.digests_.find(name);
    if (was == before.digests_.end()) {
      changes.push_back(name + " has come");
    } else if (was->second != digest || digest.empty()) {
      changes.push_back(name + " has changed");
    }
  }
  for (const auto& [name, digest] : before.digests_) {
    if (!digests_.contains(name)) {
      changes.push_back(name + " has gone");
    }
  }
  return changes;
}

}  // namespace fillstation::faults
