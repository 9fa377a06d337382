#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

namespace fillstation {

// When a bench player is pulled out by itself.
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

// When something else on the machine mounts the player behind the program's back.
enum class RemountMoment { kNever, kAfterUnmount, kAfterFormat };

// What a medium does with what is written to a part of it, while it says that all is well: nothing,
// so that it reads as zeros; put it so many bytes from the medium's beginning as it lies from the
// part's; or change a bit in each 4096 bytes. It shows once the volume has been unmounted.
enum class Lie { kNone, kDrops, kWraps, kFlips };

// What goes wrong with a bench player. A plain value.
struct BenchFaults {
  std::int64_t bytesPerSecond = 0;  // speed limit of the copy, 0 for none
  PullMoment pull = PullMoment::kNever;
  std::int64_t pullAfterBytes = 0;   // bytes copied when PullMoment::kAfterBytes strikes
  std::int64_t failAfterBytes = -1;  // bytes copied before every further one fails, -1: never
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

// What a bench player says of itself, and how it behaves. A plain value, kept beside the image.
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

// The players of a described bench in plugging order, or what is wrong with the text first: "FILE:
// KEY: REASON", or "FILE:LINE: REASON" of a text that is no JSON. The file's name stands in the
// error only. Nothing is thrown. Any thread.
using Scenario = std::vector<BenchPlayerPlan>;
std::variant<Scenario, std::string> parseScenario(std::string_view content,
                                                  const std::string& file);
std::variant<Scenario, std::string> readScenario(const std::string& file);

// The same for the identity beside an image: one player's keys without those that make the image. A
// file that isn't there is a standard player's.
std::variant<BenchIdentity, std::string> parseIdentity(std::string_view content,
                                                       const std::string& file);
std::variant<BenchIdentity, std::string> readIdentity(const std::string& file);

// The text of an identity file that reads back as this identity.
std::string identityText(const BenchIdentity& identity);

}  // namespace fillstation
