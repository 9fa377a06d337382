#include "Outside.h"

#include <fcntl.h>
#include <unistd.h>

#include <QByteArray>
#include <QCryptographicHash>
#include <algorithm>
#include <filesystem>

#include "FileHandle.h"

namespace fillstation::faults {

namespace {

// More names than any case has players: the nodes are names only, nothing may come of them.
constexpr int kNodes = 16;
constexpr off_t kScanStep = 4096;

void addNumber(QCryptographicHash& hash, off_t number) {
  hash.addData(QByteArray::number(static_cast<qlonglong>(number)) + ' ');
}

}  // namespace

std::string digestOf(const std::string& path) {
  const FileHandle file(::open(path.c_str(), O_RDONLY | O_CLOEXEC));
  if (!file) {
    return {};
  }
  QCryptographicHash hash(QCryptographicHash::Sha256);
  const off_t length = ::lseek(file.get(), 0, SEEK_END);
  addNumber(hash, length);
  std::vector<char> block(kScanStep);
  const std::vector<char> zeros(kScanStep);
  off_t at = 0;
  while (at < length) {
    const off_t data = ::lseek(file.get(), at, SEEK_DATA);
    if (data < 0) {
      break;  // a hole up to the end
    }
    at = data / kScanStep * kScanStep;
    const ssize_t count = ::pread(file.get(), block.data(), block.size(), at);
    if (count <= 0) {
      return {};
    }
    if (!std::equal(block.begin(), block.begin() + count, zeros.begin())) {
      addNumber(hash, at);
      hash.addData(QByteArrayView(block.data(), count));
    }
    at += kScanStep;
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
