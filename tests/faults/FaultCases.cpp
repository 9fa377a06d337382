#include <algorithm>
#include <memory>

#include "Book.h"
#include "FaultCase.h"

namespace fillstation::faults {

namespace {

constexpr int kTenths = 10;

FaultCase named(std::string name) {
  FaultCase made;
  made.name = std::move(name);
  return made;
}

FaultCase withFaults(std::string name, const BenchFaults& faults) {
  FaultCase made = named(std::move(name));
  made.faults = faults;
  return made;
}

FaultCase pulledAt(std::string name, PullMoment moment) {
  BenchFaults faults;
  faults.pull = moment;
  return withFaults("pulled " + std::move(name), faults);
}

FaultCase pulledInTenth(int tenth) {
  BenchFaults faults;
  faults.pull = PullMoment::kAfterBytes;
  faults.pullAfterBytes = std::max<std::int64_t>(1, tenth * kTrackBytes);
  return withFaults("pulled in the copy, " + std::to_string(tenth) + " tenths done", faults);
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

// What a player is that has come during a run: listed, not ticked.
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

std::vector<FaultCase> pulls() {
  std::vector<FaultCase> cases{named("pulled when it is ticked, before Start"),
                               named("pulled while the panel is open")};
  cases[0].ticked = pullHit;
  cases[1].asked = pullHit;
  cases.push_back(pulledAt("before it is unmounted", PullMoment::kBeforeUnmount));
  cases.push_back(named("pulled between unmount and wipe"));
  cases.back().prepare = before(Step::Kind::kWipe, pullHit);
  cases.push_back(pulledAt("during the wipe", PullMoment::kDuringWipe));
  cases.push_back(pulledAt("between wipe and format", PullMoment::kBeforeFormat));
  cases.push_back(pulledAt("during the format", PullMoment::kDuringFormat));
  cases.push_back(pulledAt("before it is mounted", PullMoment::kBeforeMount));
  cases.push_back(pulledAt("during the mount", PullMoment::kDuringMount));
  for (int tenth = 0; tenth < kTenths; ++tenth) {
    cases.push_back(pulledInTenth(tenth));
  }
  cases.push_back(pulledAt("during the final flush", PullMoment::kDuringFlush));
  cases.push_back(pulledAt("while it is read back", PullMoment::kDuringReadBack));
  cases.back().unproven = true;
  return cases;
}

// Media that take everything and have something else. The book's tracks lie one behind the other,
// after the two tables.
std::vector<FaultCase> lies() {
  const auto lying = [](std::string name, Lie lie, std::int64_t from, std::int64_t bytes) {
    BenchFaults faults;
    faults.lie = lie;
    faults.lieFrom = from;
    faults.lieBytes = bytes;
    return withFaults(std::move(name), faults);
  };
  constexpr std::int64_t kBegin = 257 * 4096;
  return {lying("drops what is beyond half of the copy", Lie::kDrops, kBegin + 24 * 4096, 0),
          lying("wraps at half of the copy", Lie::kWraps, kBegin + 24 * 4096, 0),
          lying("wraps right before the end of the copy", Lie::kWraps, kBegin + 196'608, 0),
          lying("has a worn piece of 2 %", Lie::kDrops, kBegin + 24 * 4096, 4096),
          lying("changes a bit in each block", Lie::kFlips, kBegin, 10 * kTrackBytes)};
}

std::vector<FaultCase> media() {
  std::vector<FaultCase> cases{named("too small for the audio")};
  cases[0].audioMiB = 70;
  cases[0].otherMiB = 96;
  BenchFaults faults;
  faults.failAfterBytes = 5 * kTrackBytes;
  cases.push_back(withFaults("every write fails after half of the copy", faults));
  faults = {};
  faults.readOnlyAfterBytes = 5 * kTrackBytes;
  cases.push_back(withFaults("turns read-only after half of the copy", faults));
  faults.readOnlyAfterBytes = 0;
  cases.push_back(withFaults("is read-only from the beginning", faults));
  faults = {};
  faults.refuseUnmount = true;
  cases.push_back(withFaults("refuses the unmount (a file on it is open)", faults));
  faults = {};
  faults.refuseFormat = true;
  cases.push_back(withFaults("the format fails", faults));
  faults = {};
  faults.refuseMount = true;
  cases.push_back(withFaults("refuses the mount", faults));
  for (FaultCase& lying : lies()) {
    cases.push_back(std::move(lying));
  }
  faults = {};
  faults.remount = RemountMoment::kAfterUnmount;
  cases.push_back(withFaults("an automounter mounts it before the wipe", faults));
  faults.remount = RemountMoment::kAfterFormat;
  cases.push_back(withFaults("an automounter mounts it before we do", faults));
  return cases;
}

std::vector<FaultCase> comings() {
  std::vector<FaultCase> cases{named("a fourth player arrives during the run"),
                               named("pulled and back as before, while the panel is open"),
                               named("pulled and back under the same name before the wipe"),
                               named("pulled and back under the same name before the format"),
                               named("pulled and back under the same name before the copy")};
  cases[0].prepare = [](FaultRig& rig) {
    BenchPlayerPlan late;
    late.name = "late";
    rig.make(late);
    before(Step::Kind::kFormat, [](FaultRig& r) { r.plug("late", "/dev/vp3"); })(rig);
  };
  cases[0].ended = [](FaultRig& rig) { return listedUnticked(rig, "/dev/vp3"); };
  cases[1].asked = replugHit;
  cases[2].prepare = before(Step::Kind::kWipe, replugHit);
  cases[3].prepare = before(Step::Kind::kFormat, replugHit);
  cases[4].prepare = before(Step::Kind::kOpen, replugHit);
  for (std::size_t index = 1; index < cases.size(); ++index) {
    cases[index].ended = [](FaultRig& rig) { return listedUnticked(rig, kHitNode); };
  }
  return cases;
}

std::vector<FaultCase> twins() {
  std::vector<FaultCase> cases{named("has the same serial and label as the others"),
                               pulledInTenth(5)};
  cases[1].name = "has the same serial and label as the others, and is pulled";
  for (auto& twin : cases) {
    twin.otherSerials = BenchIdentity().serial;
  }
  return cases;
}

FaultCase neverAnswered(std::string name, Step::Kind kind) {
  FaultCase made = named(std::move(name));
  made.waits = true;
  made.prepare = [kind](FaultRig& rig) {
    rig.hooks.isLost = [kind](const Step& step) { return step == Step{kind, kHitNode}; };
  };
  return made;
}

void append(std::vector<FaultCase>& cases, const std::vector<FaultCase>& more) {
  cases.insert(cases.end(), more.begin(), more.end());
}

}  // namespace

std::vector<FaultCase> faultCases() {
  std::vector<FaultCase> cases{named("nothing")};
  append(cases, pulls());
  append(cases, media());
  append(cases, comings());
  append(cases, twins());
  cases.push_back(neverAnswered("its unmount is never answered", Step::Kind::kUnmount));
  cases.push_back(neverAnswered("its mount is never answered", Step::Kind::kMount));
  return cases;
}

}  // namespace fillstation::faults
