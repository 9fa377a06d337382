#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include "FaultRig.h"
#include "Scenario.h"

namespace fillstation::faults {

// The three players of a case, in the order of their nodes; it happens to the first.
inline constexpr const char* kHit = "hit";
inline constexpr const char* kHitNode = "/dev/vp0";

// One thing that goes wrong with one of three players that are prepared. A plain value.
struct FaultCase {
  std::string name = {};
  // How the player behaves that it happens to, and the two others.
  BenchFaults faults = {};
  std::string otherSerials = "0002";
  std::int64_t otherMiB = 64;
  // More audio than the book's own.
  std::int64_t audioMiB = 0;
  // Actions by hand: before the run's steps begin, when all players are ticked, while the panel is
  // open.
  std::function<void(FaultRig&)> prepare = {};
  std::function<void(FaultRig&)> ticked = {};
  std::function<void(FaultRig&)> asked = {};
  // Additional checks after the run: their problems.
  std::function<std::vector<std::string>(FaultRig&)> ended = {};
  // The player is complete when it fails, but not confirmed yet.
  bool unproven = false;
  // The run waits for good, as long as this player does.
  bool waits = false;
};

// All cases, in the order of the table.
std::vector<FaultCase> faultCases();

}  // namespace fillstation::faults
