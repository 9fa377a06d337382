#pragma once

#include <gtest/gtest.h>

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "Platform.h"

namespace fillstation::contract {

// A player that a test wishes for.
struct PlayerWish {
  std::optional<std::string> product = "HS USB FlashDisk";
  std::string manufacturer = "Maker";
  std::string serial = "0001";
  std::uint16_t release = 0x0100;
  std::string vendor = "ACTIONS";
  std::int64_t sizeMiB = 64;
  std::optional<std::string> label = "BOOKS";
  bool blank = false;
  bool disk = true;
};

// A file or directory on a medium, read without the back end's help.
struct OnMedium {
  std::string path;  // below the root; a directory's ends in "/"
  std::string content;

  bool operator==(const OnMedium&) const = default;
};

// A back end with functions that plug players in and look at their contents: the base of the
// contract suites. Main thread.
class BackEnd {
 public:
  virtual ~BackEnd() = default;

  virtual UsbBus& usbBus() = 0;
  virtual std::shared_ptr<DiskSession> createDiskSession() = 0;
  virtual ScriptRunner& scriptRunner() = 0;
  virtual FileManager& fileManager() = 0;

  // An administrator's.
  virtual std::string userName() = 0;
  virtual std::string password() = 0;

  // Makes a player that is not plugged in; plugs it in; pulls it out.
  virtual void make(const std::string& name, const PlayerWish& wish) = 0;
  virtual void plug(const std::string& name) = 0;
  virtual void unplug(const std::string& name) = 0;

  // Everything on a player's medium, in directory order, a directory before its contents; whether
  // its file system is sound; the medium's first bytes and its size. Plugged in or not. These
  // defaults are for a back end whose suites don't use them.
  virtual std::vector<OnMedium> content(const std::string& /*name*/) { return {}; }
  virtual bool isSound(const std::string& /*name*/) { return true; }
  virtual std::string head(const std::string& /*name*/, std::size_t /*bytes*/) { return {}; }
  virtual void writeHead(const std::string& /*name*/, const std::string& /*bytes*/) {}
  virtual std::int64_t mediumSize(const std::string& /*name*/) { return 0; }

  // Runs the main loop until the condition holds; false when it doesn't within a minute.
  virtual bool await(const std::function<bool()>& condition) = 0;
  // Runs everything that is pending in the main loop now.
  virtual void settle() = 0;
};

// Everything in the FAT32 file system of an image, in directory order, a directory before its
// contents.
std::vector<OnMedium> contentOfImage(int descriptor);

struct BackEndKind {
  const char* name;
  // Null where it can't be had.
  std::unique_ptr<BackEnd> (*create)();
  // Why it can't be had.
  std::string& (*obstacle)() = nullptr;

  friend void PrintTo(const BackEndKind& kind, std::ostream* out) { *out << kind.name; }
};

inline std::string nameOfKind(const ::testing::TestParamInfo<BackEndKind>& info) {
  return info.param.name;
}

}  // namespace fillstation::contract
