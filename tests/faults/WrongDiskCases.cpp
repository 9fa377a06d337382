#include <memory>
#include <utility>

#include "Book.h"
#include "FaultCase.h"
#include "ToolGate.h"
#include "UsbUtil.h"
#include "WrongDisk.h"

namespace fillstation::faults {

namespace {

constexpr std::size_t kCommands = 3;  // one for each player, at the same time

using Act = std::function<void(FaultRig&)>;

// The foreign disk takes the player's name.
void swap(FaultRig& rig) {
  rig.pull(kHit, kHitNode);
  rig.plug("foreign", kHitNode);
}

WrongDiskCase at(std::string moment) {
  WrongDiskCase made;
  made.moment = std::move(moment);
  return made;
}

// Once, before or after a step for the player.
WrongDiskCase atStep(std::string moment, std::function<void(const Step&)> StepHooks::*when,
                     Step::Kind kind) {
  WrongDiskCase made = at(std::move(moment));
  made.prepare = [when, kind](FaultRig& rig) {
    rig.hooks.*when = [&rig, kind, done = std::make_shared<bool>()](const Step& step) {
      if (step == Step{kind, kHitNode} && !std::exchange(*done, true)) {
        swap(rig);
      }
    };
  };
  return made;
}

// The first attempt to wipe fails; the disks change before the second.
WrongDiskCase betweenAttempts() {
  WrongDiskCase made = at("between two attempts to wipe");
  made.prepare = [](FaultRig& rig) {
    const auto attempts = std::make_shared<int>(0);
    rig.hooks.before = [&rig, attempts](const Step& step) {
      if (step == Step{Step::Kind::kWipe, kHitNode} && ++*attempts == 2) {
        swap(rig);
      }
    };
    rig.hooks.instead = [attempts](const Step& step) {
      const bool isFirst = step == Step{Step::Kind::kWipe, kHitNode} && *attempts == 1;
      return isFirst ? std::optional(ScriptOutcome{std::nullopt, 1, "no"}) : std::nullopt;
    };
  };
  return made;
}

// The command has been checked and is about to write.
WrongDiskCase atTool(std::string moment, const char* tool) {
  WrongDiskCase made = at(std::move(moment));
  const auto gate = std::make_shared<std::unique_ptr<ToolGate>>();
  made.prepare = [gate, tool](FaultRig&) { *gate = std::make_unique<ToolGate>(tool); };
  made.started = [gate](FaultRig& rig) {
    rig.await([&] { return (*gate)->calls() == kCommands; });
    swap(rig);
    (*gate)->open();
  };
  made.over = [gate](FaultRig&) { gate->reset(); };
  return made;
}

// The player is pulled out in the midst of its copy.
WrongDiskCase duringCopy() {
  WrongDiskCase made = at("during the copy");
  made.faults.pull = PullMoment::kAfterBytes;
  made.faults.pullAfterBytes = 5 * kTrackBytes;
  made.started = [](FaultRig& rig) {
    rig.await([&] { return session->diskFromName(kHitNode) == nullptr; });
    rig.plug("foreign", kHitNode);
  };
  return made;
}

// Once the run is over.
WrongDiskCase atEject(std::string moment, Step::Kind kind) {
  WrongDiskCase made = atStep(std::move(moment), &StepHooks::before, kind);
  made.ejects = true;
  made.isMounted = true;
  made.over = std::exchange(made.prepare, nullptr);
  return made;
}

}  // namespace

std::vector<WrongDiskCase> wrongDiskCases() {
  std::vector<WrongDiskCase> cases{at("between listing and Start"), at("while the panel is open")};
  cases[0].ticked = swap;
  cases[1].asked = swap;
  cases.push_back(atStep("before the unmount", &StepHooks::before, Step::Kind::kLook));
  cases.push_back(atStep("during the authentication", &StepHooks::before, Step::Kind::kWipe));
  cases.push_back(betweenAttempts());
  cases.push_back(atTool("between check and write of the wipe", "dd"));
  cases.push_back(atStep("between wipe and format", &StepHooks::after, Step::Kind::kWipe));
  cases.push_back(atTool("between check and write of the format", "mkfs.fat"));
  cases.push_back(atStep("between format and mount", &StepHooks::after, Step::Kind::kFormat));
  cases.back().isMounted = true;
  cases.push_back(atStep("between mount and copy", &StepHooks::before, Step::Kind::kOpen));
  cases.push_back(duringCopy());
  cases.push_back(atEject("before the unmount of an eject", Step::Kind::kLook));
  cases.push_back(atEject("between that unmount and the eject", Step::Kind::kEject));
  return cases;
}

}  // namespace fillstation::faults
