#pragma once

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <filesystem>
#include <functional>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "FakeCalls.h"
#include "PosixVolume.h"
#include "TempFolder.h"

namespace fillstation {

using Log = std::vector<std::string>;
constexpr std::size_t kMiB = 1048576;

// Admits everything unless told otherwise, and records what it was told.
class TestMedium : public VolumeMedium {
 public:
  int admit(const std::string& relativePath, std::optional<std::int64_t> size) override {
    log.push_back(size ? "admit file " + relativePath + " " + std::to_string(*size)
                       : "admit directory " + relativePath);
    return relativePath == refused ? ENOSPC : 0;
  }
  int admitBytes(std::int64_t count) override {
    log.push_back("admit bytes " + std::to_string(count));
    if (onBytes) {
      onBytes();
    }
    bytesAdmitted += count;
    return bytesAdmitted > mostBytes ? EIO : 0;
  }
  void created(const std::string& relativePath) override {
    log.push_back("created " + relativePath);
  }
  bool closesSlowly(int rootDescriptor) override {
    askedAbout = rootDescriptor;
    return slowClose;
  }
  bool flush(int rootDescriptor) override {
    openAtFlush = filesOpen ? filesOpen() : 0;
    struct stat status {};
    ::fstat(rootDescriptor, &status);
    flushed = status.st_ino;
    return canFlush;
  }

  std::string refused;
  std::int64_t bytesAdmitted = 0;
  std::int64_t mostBytes = INT64_MAX;
  std::function<void()> onBytes;
  bool canFlush = true;
  ino_t flushed = 0;
  bool slowClose = false;
  int askedAbout = -1;
  std::function<int()> filesOpen;
  int openAtFlush = 0;
  Log log;
};

class PosixVolumeTest : public testing::Test {
 protected:
  PosixVolumeTest()
      : mount_(folder_.makeFolder("mount")),
        medium_(std::make_shared<TestMedium>()),
        volume_(open(), mount_, medium_, stop_, calls_) {}

  FileHandle open() { return FileHandle(::open(mount_.c_str(), O_RDONLY | O_DIRECTORY)); }
  std::string at(const std::string& below) const { return mount_ + "/" + below; }
  bool exists(const std::string& path) const {
    return std::filesystem::exists(std::filesystem::symlink_status(path));
  }
  std::size_t entries() const {
    return static_cast<std::size_t>(std::distance(std::filesystem::directory_iterator(mount_), {}));
  }

  test::TempFolder folder_;
  std::string mount_;
  std::string source_ = folder_.write("source.mp3", "audio");
  StopSource stop_;
  test::FakeCalls calls_;
  std::shared_ptr<TestMedium> medium_;
  PosixVolume volume_;
};

}  // namespace fillstation
