#include <algorithm>
#include <fstream>
#include <set>
#include <sstream>

#include "Book.h"
#include "FaultCase.h"
#include "Outside.h"
#include "Readable.h"
#include "UsbUtil.h"
#include "WrongDisk.h"

namespace fillstation::faults {

namespace {

constexpr std::int64_t kFilledBytes = 1 << 20;

std::vector<BenchPlayerPlan> playersOf(const WrongDiskCase& planned) {
  std::vector<BenchPlayerPlan> plans(3);
  plans[0].name = kHit;
  plans[0].identity.faults = planned.faults;
  plans[1].name = "one";
  plans[2].name = "two";
  return plans;
}

// A disk with a file system and bytes of its own, at its head too. It is mounted only where that
// makes it easier to harm: what is mounted is refused for that alone.
BenchPlayerPlan planOf(const ForeignDisk& disk, bool isMounted) {
  BenchPlayerPlan plan;
  plan.name = "foreign";
  plan.label = "PHOTOS";
  plan.identity.vendor = disk.vendor;
  plan.identity.product = disk.product;
  plan.identity.automount = isMounted;
  return plan;
}

void fill(const std::string& image) {
  std::fstream file(image, std::ios::in | std::ios::out | std::ios::binary);
  file.seekp(-kFilledBytes, std::ios::end);
  file << noise(7, kFilledBytes);
}

std::set<std::string> writable() { return {kHit, "one", "two"}; }

bool isMounted(const char* node) {
  const auto disk = session->diskFromName(node);
  const auto description = disk ? disk->copyDescription() : std::nullopt;
  return description && description->volumePath;
}

void act(const std::function<void(FaultRig&)>& action, FaultRig& rig) {
  if (action) {
    action(rig);
  }
}

std::string namesIn(const std::string& summary) {
  std::vector<std::string> named;
  std::istringstream lines(summary);
  std::string line;
  std::getline(lines, line);
  while (std::getline(lines, line)) {
    const std::string node = between(line, "Player ", " Failed in process");
    named.push_back(node == kHitNode ? kHit : node);
  }
  return summary.empty() ? "no summary" : named.empty() ? "nobody" : joined(named);
}

// Ejects what is ticked, and waits until the two others have no medium any more.
void ejectAll(FaultRig& rig, WrongDiskOutcome& seen) {
  rig.ejectTicked();
  const auto asked = [&] {
    const auto texts = rig.log.texts();
    return std::count(texts.begin(), texts.end(), "\nDevice Ejected\n") == 3;
  };
  if (!rig.await(asked)) {
    seen.problems.emplace_back("not all ejects have been asked for");
  }
  const auto isEjected = [](const char* node) {
    const auto description = session->diskFromName(node)->copyDescription();
    return description && !description->mediaSize;
  };
  if (!rig.await([&] { return isEjected("/dev/vp1") && isEjected("/dev/vp2"); })) {
    seen.problems.emplace_back("the others aren't ejected");
  }
  if (!rig.await([] { return isMounted(kHitNode); })) {
    seen.problems.emplace_back("the foreign disk has been unmounted");
  }
}

}  // namespace

WrongDiskOutcome perform(const WrongDiskCase& planned, const ForeignDisk& disk) {
  WrongDiskOutcome seen;
  FaultRig rig(playersOf(planned));
  fill(rig.make(planOf(disk, planned.isMounted)));
  writeBook(rig.folder);
  rig.addBook();
  act(planned.prepare, rig);
  const Outside before(rig.folder.path(), writable());
  rig.tickAll();
  act(planned.ticked, rig);
  rig.ask();
  act(planned.asked, rig);
  rig.confirm();
  act(planned.started, rig);
  seen.summary = namesIn(rig.readSummary());
  act(planned.over, rig);
  if (planned.ejects) {
    ejectAll(rig, seen);
  }
  // Whatever was asked for it has been answered by now.
  if (session->diskFromName(kHitNode) == nullptr ||
      rig.imageOf("foreign").find("pulled") != std::string::npos) {
    seen.problems.emplace_back("the foreign disk didn't take the name");
  }
  const auto changes = Outside(rig.folder.path(), writable()).changesSince(before);
  seen.foreign = changes.empty() ? "unchanged" : joined(changes);
  if (!changes.empty()) {
    seen.problems.push_back(seen.foreign);
  }
  return seen;
}

std::string wrongDiskHead() {
  std::string head = "| When another disk takes the name of `hit` |";
  std::string line = "|---|";
  for (const auto& disk : kForeignDisks) {
    head += " " + std::string(disk.name) + " |";
    line += "---|";
  }
  return head + " the summary names |\n" + line + "---|\n";
}

std::string rowOf(const WrongDiskCase& planned, const std::vector<WrongDiskOutcome>& seen) {
  std::string row = "| " + planned.moment + " |";
  std::vector<std::string> summaries;
  for (const auto& outcome : seen) {
    row += " " + outcome.foreign + " |";
    if (std::find(summaries.begin(), summaries.end(), outcome.summary) == summaries.end()) {
      summaries.push_back(outcome.summary);
    }
  }
  return row + " " + joined(summaries) + " |";
}

}  // namespace fillstation::faults
