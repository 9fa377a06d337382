#pragma once

#include <array>
#include <functional>
#include <string>
#include <vector>

#include "FaultRig.h"

namespace fillstation::faults {

// A disk that takes the name of a listed player.
struct ForeignDisk {
  const char* name;
  const char* vendor;
  const char* product;
};

inline constexpr std::array<ForeignDisk, 3> kForeignDisks{{
    {"a disk of another vendor", "BACKUPS", "HS USB FlashDisk"},
    {"an ACTIONS disk of another USB device", "ACTIONS", "Another Device"},
    {"another player", "ACTIONS", "HS USB FlashDisk"},
}};

// A moment at which that happens. A plain value; the hands are those of FaultCase.
struct WrongDiskCase {
  std::string moment;
  std::function<void(FaultRig&)> prepare;
  std::function<void(FaultRig&)> ticked;
  std::function<void(FaultRig&)> asked;
  std::function<void(FaultRig&)> started;
  std::function<void(FaultRig&)> over;  // the run
  BenchFaults faults;
  // The foreign disk is mounted at once: there is a path by which it can be reached.
  bool isMounted = false;
  // After the run everything that is still ticked is ejected.
  bool ejects = false;
};

std::vector<WrongDiskCase> wrongDiskCases();

// What was seen. A plain value.
struct WrongDiskOutcome {
  std::string foreign;  // as the table says it: "unchanged" or what has changed
  std::string summary;  // who is named
  std::vector<std::string> problems;
};

// Performs the case at the window and compares every byte of the foreign disk, and everything else
// around the players. Main thread.
WrongDiskOutcome perform(const WrongDiskCase& planned, const ForeignDisk& disk);

// The head of the table, and the line of a moment with what was seen of each disk.
std::string wrongDiskHead();
std::string rowOf(const WrongDiskCase& planned, const std::vector<WrongDiskOutcome>& seen);

}  // namespace fillstation::faults
