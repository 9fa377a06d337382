#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

namespace fillstation {

// When a bench player unplugs itself.
enum class PullMoment {
  kNever,
  kBeforeUnmount,
  kDuringWipe,
  kBeforeFormat,
  kDuringFormat,
  kBeforeMount,
  kDuringMount,
  kAfterBytes,
  kDuringFlush,
  kDuringReadBack
};

// When another program mounts the player unexpectedly.
enum class RemountMoment { kNever, kAfterUnmount, kAfterFormat };

// What a medium does with data written to a part of it, while it reports success: drop it, so that
// zeros are read; write it at the beginning of the medium instead; or change a bit in each 4096
// bytes. The effect appears when the volume has been unmounted.
enum class Lie { kNone, kDrops, kWraps, kFlips };

// The faults of a bench player. A plain value.
struct BenchFaults {
  std::int64_t bytesPerSecond = 0;  // speed limit of the copy, 0 for none
  PullMoment pull = PullMoment::kNever;
  std::int64_t pullAfterBytes = 0;   // the number of copied bytes for PullMoment::kAfterBytes
  std::int64_t failAfterBytes = -1;  // the number of copied bytes after which all fail, -1: never
  bool refuseMount = false;
  bool refuseUnmount = false;
  bool refuseFormat = false;  // the format command fails
  RemountMoment remount = RemountMoment::kNever;
  // Bytes copied when the medium turns read-only, -1: never, 0: it always was.
  std::int64_t readOnlyAfterBytes = -1;
  Lie lie = Lie::kNone;
  std::int64_t lieFrom = 4096;  // bytes from the medium's beginning
  std::int64_t lieBytes = 0;    // 0: to its end

  bool operator==(const BenchFaults&) const = default;
};

// A bench player's identity and behaviour. A plain value, stored beside the image.
struct BenchIdentity {
  std::string product = "HS USB FlashDisk";  // empty: it has no name
  std::string manufacturer = "Fillstation Bench";
  std::string serial = "0001";
  std::int64_t release = 0x0100;   // binary coded decimal
  std::string vendor = "ACTIONS";  // of the disk
  bool disk = true;                // false: a device without a disk
  BenchFaults faults;
  std::string slot;           // of the bench, empty: it has no name
  std::string speed = "480";  // of its link, in megabits a second

  bool operator==(const BenchIdentity&) const = default;
};

// One player of a scenario. A plain value.
struct BenchPlayerPlan {
  std::string name;           // letters, digits, "-" and "_"; the image is NAME.img
  std::int64_t sizeMiB = 64;  // 64 to 8192
  std::string label;          // up to 11 characters, empty: none
  bool blank = false;         // no file system
  BenchIdentity identity;

  bool operator==(const BenchPlayerPlan&) const = default;
};

// The players of a described bench in plugging order, or the first problem of the text: "FILE: KEY:
// REASON", or "FILE:LINE: REASON" if it is not JSON. The file's name is used only in the error.
// Throws nothing. Any thread.
using Scenario = std::vector<BenchPlayerPlan>;
std::variant<Scenario, std::string> parseScenario(std::string_view content,
                                                  const std::string& file);
std::variant<Scenario, std::string> readScenario(const std::string& file);

// The same for the identity beside an image: the keys of one player, without those that make the
// image. Without the file it is a standard player.
std::variant<BenchIdentity, std::string> parseIdentity(std::string_view content,
                                                       const std::string& file);
std::variant<BenchIdentity, std::string> readIdentity(const std::string& file);

// The text of an identity file with this identity.
std::string identityText(const BenchIdentity& identity);

}  // namespace fillstation
