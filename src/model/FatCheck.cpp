#include "FatCheck.h"

#include <algorithm>
#include <cstdint>
#include <optional>
#include <unordered_map>

#include "FatNames.h"

namespace fillstation {
namespace {

// The entries "." and "..", which every folder except the first has.
constexpr std::int64_t kOwnSlots = 2;

// The names that a player will have, by their folded path.
class FatTree {
 public:
  // Adds the node, or returns the reason why it can't be added.
  std::optional<FatReason> add(const std::string& path, bool isDirectory, std::int64_t size) {
    const auto slash = path.rfind('/');
    const std::string parent = folded(path.substr(0, slash == std::string::npos ? 0 : slash));
    const std::string name = path.substr(slash + 1);
    const std::string whole = parent.empty() ? fatFolded(name) : parent + '/' + fatFolded(name);
    const auto reason = reasonAgainst(parent, whole, name, isDirectory, size);
    if (reason && isDirectory) {
      refused_.emplace(whole, *reason);
    }
    return reason;
  }

 private:
  std::optional<FatReason> reasonAgainst(const std::string& parent, const std::string& whole,
                                         const std::string& name, bool isDirectory,
                                         std::int64_t size) {
    const auto folder = entries_.find(parent);
    if (folder == entries_.end() || !folder->second.isDirectory) {
      const auto refusal = refused_.find(parent);
      return refusal == refused_.end() ? FatReason::kName : refusal->second;
    }
    if (fatNameError(name) != 0) {
      return FatReason::kName;
    }
    if (const auto there = entries_.find(whole); there != entries_.end()) {
      const bool isSameFolder = isDirectory && there->second.isDirectory;
      return isSameFolder ? std::nullopt : std::optional(FatReason::kSamePlace);
    }
    if (!isDirectory && size > kFatLargestFile) {
      return FatReason::kTooLarge;
    }
    const std::int64_t slots = fatSlots(name);
    if (folder->second.slots + slots > kFatMostSlots) {
      return FatReason::kTooMany;
    }
    folder->second.slots += slots;
    entries_[whole] = {isDirectory, kOwnSlots};
    return std::nullopt;
  }

  struct Entry {
    bool isDirectory = false;
    std::int64_t slots = 0;  // used in a folder
  };

  static std::string folded(const std::string& path) {
    std::string all;
    for (std::size_t begin = 0; begin < path.size();) {
      const std::size_t end = std::min(path.find('/', begin), path.size());
      all += (begin == 0 ? "" : "/") + fatFolded(path.substr(begin, end - begin));
      begin = end + 1;
    }
    return all;
  }

  std::unordered_map<std::string, Entry> entries_{{"", {true, 0}}};
  std::unordered_map<std::string, FatReason> refused_;  // folders that can't be created
};

}  // namespace

std::vector<FatRefusal> refusedByFat(const TRFileList& roots,
                                     const std::function<bool()>& stopped) {
  std::vector<FatRefusal> refused;
  FatTree tree;
  for (std::size_t number = 0; number < roots.size(); ++number) {
    const auto nodes = roots[number]->files();
    if (!roots[number]->isDir() || !nodes) {
      continue;
    }
    for (const auto& node : *nodes) {
      if (stopped()) {
        return refused;
      }
      std::string path = node->destRelativeUrl().value_or(Url()).path();
      if (path.ends_with('/')) {
        path.pop_back();
      }
      if (const auto reason = tree.add(path, node->isDir(), node->size().value())) {
        refused.push_back({number, std::move(path), *reason});
      }
    }
  }
  return refused;
}

}  // namespace fillstation
