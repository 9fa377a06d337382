#include "FaultOutcome.h"

#include <algorithm>
#include <map>
#include <set>
#include <sstream>

#include "Book.h"
#include "Outside.h"
#include "PlayerCheck.h"
#include "Readable.h"

namespace fillstation::faults {

namespace {

const std::vector<std::string> kPlayers{kHit, "one", "two"};

// Polls of a worker that waits; at one a second they are twenty minutes.
constexpr std::int64_t kManyPauses = 1'200;

std::vector<BenchPlayerPlan> plansOf(const FaultCase& planned) {
  std::vector<BenchPlayerPlan> plans;
  for (const auto& name : kPlayers) {
    BenchPlayerPlan plan;
    plan.name = name;
    plan.label = "PLAYER";
    if (name == kHit) {
      plan.identity.faults = planned.faults;
    } else {
      plan.identity.serial = planned.otherSerials;
      plan.sizeMiB = planned.otherMiB;
    }
    plans.push_back(plan);
  }
  return plans;
}

// A case on its way.
class Performance {
 public:
  explicit Performance(const FaultCase& planned)
      : planned_(planned), rig_(plansOf(planned)), before_(lookAround()) {}

  FaultOutcome perform() {
    for (std::size_t index = 0; index < kPlayers.size(); ++index) {
      nameOf_[rig_.listed().at(index)] = kPlayers[index];
    }
    writeBook(rig_.folder, planned_.audioMiB);
    rig_.addBook();
    act(planned_.prepare);
    before_ = lookAround();
    rig_.tickAll();
    act(planned_.ticked);
    const std::string untouched = digestOf(rig_.imageOf(kHit));
    rig_.ask();
    act(planned_.asked);
    for (const auto& node : rig_.ticked()) {
      tookPart_.insert(nameOf_[node]);
    }
    rig_.confirm();
    act(planned_.started);
    watch();
    readBack(untouched);
    for (const auto& problem : planned_.ended ? planned_.ended(rig_) : std::vector<std::string>()) {
      expect(false, problem);
    }
    return seen_;
  }

 private:
  Outside lookAround() const {
    return {rig_.folder.path(), std::set<std::string>(kPlayers.begin(), kPlayers.end())};
  }

  void act(const std::function<void(FaultRig&)>& action) {
    if (action) {
      action(rig_);
    }
  }

  void expect(bool holds, const std::string& problem) {
    if (!holds) {
      seen_.problems.push_back(problem);
    }
  }

  // The run, until its summary or until it is plain that it waits.
  void watch() {
    if (!planned_.waits) {
      readNames(rig_.readSummary());
      return;
    }
    const auto texts = [this](const std::string& text) {
      const auto all = rig_.log.texts();
      return std::count(all.begin(), all.end(), text);
    };
    const bool othersEnd = rig_.await([&] { return texts("done\n") == 2; });
    const std::int64_t pauses = rig_.clock.pauses();
    const bool stays = rig_.await([&] { return rig_.clock.pauses() > pauses + kManyPauses; });
    seen_.run = othersEnd && stays && rig_.isRunning() ? "waits" : "ends";
    seen_.summary = rig_.isRunning() ? "not shown" : "shown";
    expect(seen_.run == "waits" && texts("done\n") == 2, "doesn't wait");
  }

  void readNames(const std::string& summary) {
    std::istringstream lines(summary);
    std::string line;
    std::getline(lines, line);
    expect(line == "Process Completed.", "the summary begins with: " + line);
    while (std::getline(lines, line)) {
      const std::string node = between(line, "Player ", " Failed in process");
      named_.push_back(nameOf_.contains(node) ? nameOf_[node] : line);
    }
    seen_.run = summary.empty() ? "goes on" : "ends";
    seen_.summary = named_.empty() ? "nobody" : joined(named_);
    expect(!summary.empty(), "no summary");
  }

  void readBack(const std::string& untouched) {
    std::vector<std::string> incomplete;
    int complete = 0;
    int files = 0;
    for (const auto& name : kPlayers) {
      const auto check =
          demo::checkPlayer(QString::fromStdString(rig_.imageOf(name)), rig_.roots());
      if (tookPart_.contains(name) && !check.complete()) {
        incomplete.push_back(name);
      }
      if (name == kHit) {
        const bool same = digestOf(rig_.imageOf(name)) == untouched;
        seen_.hit = check.complete() ? "complete" : same ? "untouched" : "not complete";
        expect(tookPart_.contains(name) || same, "not in the run, and changed");
      } else {
        complete += check.complete() ? 1 : 0;
        files += check.files;
        expect(check.complete(), name + ": " + check.faults.join("; ").toStdString());
      }
    }
    seen_.others = std::to_string(complete) + " of 2 complete, " + std::to_string(files) + " of " +
                   std::to_string(2 * demo::fileCount(rig_.roots())) + " files";
    if (planned_.unproven) {
      incomplete.emplace_back(kHit);
    }
    expect(planned_.waits || named_ == incomplete,
           "named are " + joined(named_) + ", incomplete " + joined(incomplete));
    const auto changes = lookAround().changesSince(before_);
    seen_.outside = changes.empty() ? "unchanged" : joined(changes);
    expect(changes.empty(), seen_.outside);
  }

  const FaultCase& planned_;
  FaultRig rig_;
  Outside before_;
  std::map<std::string, std::string> nameOf_;  // by node
  std::set<std::string> tookPart_;
  std::vector<std::string> named_;
  FaultOutcome seen_;
};

}  // namespace

FaultOutcome perform(const FaultCase& planned) { return Performance(planned).perform(); }

std::string faultHead() {
  return "| What happens to the player `hit` | The run | The summary names | `hit` | The two "
         "others | Outside the players |\n|---|---|---|---|---|---|\n";
}

std::string rowOf(const FaultCase& planned, const FaultOutcome& seen) {
  return "| " + planned.name + " | " + seen.run + " | " + seen.summary + " | " + seen.hit + " | " +
         seen.others + " | " + seen.outside + " |";
}

}  // namespace fillstation::faults
