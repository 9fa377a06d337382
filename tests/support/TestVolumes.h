#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "FileManager.h"

namespace fillstation::test {

// A volume that keeps no content: it tells what it is asked and answers from a script. One thread
// at a time.
class TestVolume : public Volume {
 public:
  // "mkdir <destination>", "copy <source> -> <destination>", "flush" or "read back".
  using Listener = std::function<void(const std::string&)>;

  // Given what is to be read back.
  using Reader = std::function<void(const CopiedItems&)>;

  TestVolume(Listener listener, std::set<std::string> failing, Reader read)
      : listener_(std::move(listener)), failing_(std::move(failing)), read_(std::move(read)) {}

  bool createDirectory(const std::string& destination) override {
    return answer("mkdir " + destination);
  }
  bool copyItem(const std::string& source, const std::string& destination) override {
    return answer("copy " + source + " -> " + destination);
  }
  bool flush() override { return answer("flush"); }
  bool readBack(const CopiedItems& items) override {
    read_(items);
    return answer("read back");
  }

 private:
  bool answer(const std::string& request) {
    listener_(request);
    return !failing_.contains(request);
  }

  Listener listener_;
  std::set<std::string> failing_;
  Reader read_;
};

// A file manager with volumes and no files. Set up before the threads that use it start.
class TestVolumes : public FileManager {
 public:
  bool fileExists(const std::string& path, bool* isDirectory) override {
    if (isDirectory != nullptr) {
      *isDirectory = false;
    }
    tell("exists? " + path);
    return existing.contains(path);
  }
  std::optional<std::int64_t> fileSize(const std::string& /*path*/) override {
    return std::nullopt;
  }
  std::unique_ptr<DirectoryWalk> walk(const std::string& /*folder*/,
                                      WalkErrorHandler /*onError*/) override {
    return nullptr;
  }
  std::shared_ptr<Volume> openVolume(const std::string& mountPath,
                                     const DiskIdentity& owner) override {
    tell("open " + mountPath + " of " + owner.node + " " + std::to_string(owner.usbHandle));
    if (refused.contains(mountPath)) {
      return nullptr;
    }
    return std::make_shared<TestVolume>([this](const std::string& request) { tell(request); },
                                        failing, onReadBack);
  }

  // Paths that exist, mount paths that can't be opened, requests to a volume that fail.
  std::set<std::string> existing;
  std::set<std::string> refused;
  std::set<std::string> failing;
  // Told of each request, on the thread that makes it.
  std::function<void(const std::string&)> onRequest;
  TestVolume::Reader onReadBack = [](const CopiedItems& /*items*/) {};

 private:
  void tell(const std::string& request) {
    if (onRequest) {
      onRequest(request);
    }
  }
};

}  // namespace fillstation::test
