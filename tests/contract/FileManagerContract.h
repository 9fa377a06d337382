#pragma once

#include <gtest/gtest.h>

#include <memory>
#include <ostream>
#include <string>
#include <vector>

#include "FileManager.h"
#include "TempFolder.h"

namespace fillstation::test {

// A file manager to be held to the contract, with one player's volume mounted. Each back end makes
// its own and instantiates the suite below with it.
class FileManagerBackEnd {
 public:
  virtual ~FileManagerBackEnd() = default;

  virtual FileManager& files() = 0;
  // Where the volume is mounted, empty at first, and whose it is.
  virtual std::string mountPath() = 0;
  virtual DiskIdentity owner() = 0;
  // The player is pulled out.
  virtual void vanish() = 0;
};

// How to make one; the name goes into the names of the tests.
struct FileManagerBackEndMaker {
  std::string name;
  std::unique_ptr<FileManagerBackEnd> (*make)();

  friend void PrintTo(const FileManagerBackEndMaker& maker, std::ostream* out) {
    *out << maker.name;
  }
};

class FileManagerContract : public testing::TestWithParam<FileManagerBackEndMaker> {
 protected:
  FileManager& files() { return backEnd_->files(); }
  std::shared_ptr<Volume> openVolume() {
    return files().openVolume(backEnd_->mountPath(), backEnd_->owner());
  }
  std::string onVolume(const std::string& below) { return backEnd_->mountPath() + "/" + below; }

  // The walk's entries as paths below the folder, folders with "/" at the end.
  std::vector<std::string> walked(const std::string& folder);
  // What couldn't be read during walked().
  std::vector<std::string> errors_;
  bool goOn_ = true;

  std::unique_ptr<FileManagerBackEnd> backEnd_ = GetParam().make();
  TempFolder folder_;
};

}  // namespace fillstation::test
