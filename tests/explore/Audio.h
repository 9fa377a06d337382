#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "FileManager.h"

namespace fillstation::explore {

// One chosen root as the rules see it. A plain value.
struct Root {
  std::string path;
  std::string name;
  std::int64_t size = 0;
  bool isFolder = true;
  std::map<std::string, std::string> content;  // below the root: path and source, "" for a folder
};

// The audio of the machine, in memory. Any thread.
class Audio : public FileManager {
 public:
  // Everything that can be chosen.
  static const std::vector<std::string>& choices();
  // What choosing it must give with this file type; none for a file of another type.
  static std::optional<Root> rootOf(const std::string& path, const std::string& fileType);

  bool fileExists(const std::string& path, bool* isDirectory) override;
  std::optional<std::int64_t> fileSize(const std::string& path) override;
  std::unique_ptr<DirectoryWalk> walk(const std::string& folder, WalkErrorHandler onError) override;
  std::shared_ptr<Volume> openVolume(const std::string& mountPath,
                                     const DiskIdentity& owner) override;
};

}  // namespace fillstation::explore
