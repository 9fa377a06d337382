#include <algorithm>
#include <iterator>
#include <memory>
#include <utility>

#include "FaultCase.h"

namespace fillstation::faults {

namespace {

constexpr int kTenths = 10;
constexpr std::int64_t kHalf = 5 * kTrackBytes;

template <class Value>
BenchFaults with(Value BenchFaults::*fault, const Value& value) {
  BenchFaults faults;
  faults.*fault = value;
  return faults;
}

FaultCase pulledAt(const std::string& name, PullMoment moment) {
  return {.name = "pulled " + name, .faults = with(&BenchFaults::pull, moment)};
}

FaultCase pulledInTenth(int tenth) {
  FaultCase made{.name = "pulled in the copy, " + std::to_string(tenth) + " tenths done"};
  made.faults.pull = PullMoment::kAfterBytes;
  made.faults.pullAfterBytes = std::max<std::int64_t>(1, tenth * kTrackBytes);
  return made;
}

void pullHit(FaultRig& rig) { rig.pull(kHit, kHitNode); }

void replugHit(FaultRig& rig) {
  rig.pull(kHit, kHitNode);
  rig.plug(kHit, kHitNode);
}

// Does so once, right before a step of the run is made for the player that it happens to.
std::function<void(FaultRig&)> before(Step::Kind kind, const std::function<void(FaultRig&)>& act) {
  return [kind, act](FaultRig& rig) {
    rig.hooks.before = [&rig, kind, act, done = std::make_shared<bool>()](const Step& step) {
      if (step == Step{kind, kHitNode} && !std::exchange(*done, true)) {
        act(rig);
      }
    };
  };
}

// The state of a player that arrived during a run: listed, not ticked.
std::vector<std::string> listedUnticked(FaultRig& rig, const std::string& node) {
  const auto contains = [&](const std::vector<std::string>& all) {
    return std::find(all.begin(), all.end(), node) != all.end();
  };
  std::vector<std::string> problems;
  // Its arrival may have waited behind the summary.
  if (!rig.await([&] { return contains(rig.listed()); })) {
    problems.push_back(node + " isn't listed");
  }
  if (contains(rig.ticked())) {
    problems.push_back(node + " is ticked");
  }
  return problems;
}

std::vector<std::string> hitIsListedUnticked(FaultRig& rig) {
  return listedUnticked(rig, kHitNode);
}

FaultCase backBefore(const std::string& what, Step::Kind step) {
  return {.name = "pulled and back under the same name before the " + what,
          .prepare = before(step, replugHit),
          .ended = hitIsListedUnticked};
}

std::vector<FaultCase> pulls() {
  std::vector<FaultCase> cases{
      {.name = "pulled when it is ticked, before Start", .ticked = pullHit},
      {.name = "pulled while the panel is open", .asked = pullHit},
      pulledAt("before it is unmounted", PullMoment::kBeforeUnmount),
      {.name = "pulled between unmount and wipe", .prepare = before(Step::Kind::kWipe, pullHit)},
      pulledAt("during the wipe", PullMoment::kDuringWipe),
      pulledAt("between wipe and format", PullMoment::kBeforeFormat),
      pulledAt("during the format", PullMoment::kDuringFormat),
      pulledAt("before it is mounted", PullMoment::kBeforeMount),
      pulledAt("during the mount", PullMoment::kDuringMount)};
  for (int tenth = 0; tenth < kTenths; ++tenth) {
    cases.push_back(pulledInTenth(tenth));
  }
  cases.push_back(pulledAt("during the final flush", PullMoment::kDuringFlush));
  cases.push_back(pulledAt("while it is read back", PullMoment::kDuringReadBack));
  cases.back().unproven = true;
  return cases;
}

std::vector<FaultCase> media() {
  // The book's tracks lie one behind the other, after the two tables.
  constexpr std::int64_t kBegin = 257 * 4096;
  constexpr std::int64_t kMiddle = kBegin + 24 * 4096;
  const auto lying = [](const char* name, Lie lie, std::int64_t from, std::int64_t bytes = 0) {
    FaultCase made{.name = name};
    made.faults.lie = lie;
    made.faults.lieFrom = from;
    made.faults.lieBytes = bytes;
    return made;
  };
  return {{.name = "too small for the audio", .otherMiB = 96, .audioMiB = 70},
          {.name = "every write fails after half of the copy",
           .faults = with(&BenchFaults::failAfterBytes, kHalf)},
          {.name = "turns read-only after half of the copy",
           .faults = with(&BenchFaults::readOnlyAfterBytes, kHalf)},
          {.name = "is read-only from the beginning",
           .faults = with(&BenchFaults::readOnlyAfterBytes, std::int64_t{0})},
          {.name = "refuses the unmount (a file on it is open)",
           .faults = with(&BenchFaults::refuseUnmount, true)},
          {.name = "the format fails", .faults = with(&BenchFaults::refuseFormat, true)},
          {.name = "refuses the mount", .faults = with(&BenchFaults::refuseMount, true)},
          // Media that take everything and have something else.
          lying("drops what is beyond half of the copy", Lie::kDrops, kMiddle),
          lying("wraps at half of the copy", Lie::kWraps, kMiddle),
          lying("wraps right before the end of the copy", Lie::kWraps, kBegin + 196'608),
          lying("has a worn piece of 2 %", Lie::kDrops, kMiddle, 4096),
          lying("changes a bit in each block", Lie::kFlips, kBegin, 10 * kTrackBytes),
          {.name = "an automounter mounts it before the wipe",
           .faults = with(&BenchFaults::remount, RemountMoment::kAfterUnmount)},
          {.name = "an automounter mounts it before we do",
           .faults = with(&BenchFaults::remount, RemountMoment::kAfterFormat)}};
}

std::vector<FaultCase> comings() {
  const auto prepareLate = [](FaultRig& rig) {
    BenchPlayerPlan late;
    late.name = "late";
    rig.make(late);
    before(Step::Kind::kFormat, [](FaultRig& r) { r.plug("late", "/dev/vp3"); })(rig);
  };
  return {{.name = "a fourth player arrives during the run",
           .prepare = prepareLate,
           .ended = [](FaultRig& rig) { return listedUnticked(rig, "/dev/vp3"); }},
          {.name = "pulled and back as before, while the panel is open",
           .asked = replugHit,
           .ended = hitIsListedUnticked},
          backBefore("wipe", Step::Kind::kWipe),
          backBefore("format", Step::Kind::kFormat),
          backBefore("copy", Step::Kind::kOpen)};
}

std::vector<FaultCase> twins() {
  std::vector<FaultCase> cases{{.name = "has the same serial and label as the others"},
                               pulledInTenth(5)};
  cases[1].name = "has the same serial and label as the others, and is pulled";
  for (auto& twin : cases) {
    twin.otherSerials = BenchIdentity().serial;
  }
  return cases;
}

FaultCase neverAnswered(const std::string& what, Step::Kind kind) {
  return {.name = "its " + what + " is never answered",
          .prepare =
              [kind](FaultRig& rig) {
                rig.hooks.isLost = [kind](const Step& step) {
                  return step == Step{kind, kHitNode};
                };
              },
          .waits = true};
}

}  // namespace

std::vector<FaultCase> faultCases() {
  std::vector<FaultCase> cases{{.name = "nothing"}};
  for (auto& group : {pulls(), media(), comings(), twins()}) {
    std::copy(group.begin(), group.end(), std::back_inserter(cases));
  }
  cases.push_back(neverAnswered("unmount", Step::Kind::kUnmount));
  cases.push_back(neverAnswered("mount", Step::Kind::kMount));
  return cases;
}

}  // namespace fillstation::faults
