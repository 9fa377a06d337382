#pragma once

#include <optional>
#include <string_view>
#include <vector>

namespace fillstation::test {

// The disks that can be at a player's node instead of the first one: one table for all tests of
// whether a disk is a player.
struct DiskCase {
  const char* what;
  // How far the USB device's bus and device number are from the player's.
  int bus = 0;
  int device = 0;
  // How far the kernel's sequence number is; none when there is none.
  std::optional<int> sequence = 0;
  // As the kernel writes it, padded.
  const char* vendor = "ACTIONS ";

  bool isSameDevice() const { return bus == 0 && device == 0; }
  bool isActions() const { return std::string_view(vendor) == "ACTIONS "; }
  bool isPlayer() const { return isSameDevice() && sequence == 0 && isActions(); }
};

inline const std::vector<DiskCase>& diskCases() {
  static const std::vector<DiskCase> cases{
      {"the player"},
      {"a device on another bus", 1},
      {"another device", 0, 1},
      {"a device that had the number before", 0, -1},
      {"another disk or medium", 0, 0, 1},
      {"an earlier disk", 0, 0, -1},
      {"a disk without a sequence number", 0, 0, std::nullopt},
      {"a shorter vendor", 0, 0, 0, "ACTION  "},
      {"a longer vendor", 0, 0, 0, "ACTIONSX"},
      {"a vendor behind a blank", 0, 0, 0, " ACTIONS"},
      {"a vendor in small letters", 0, 0, 0, "actions "},
      {"no vendor", 0, 0, 0, "        "},
      {"another player", 1, 1, 1},
  };
  return cases;
}

}  // namespace fillstation::test
