#include <gtest/gtest.h>

#include <algorithm>
#include <map>
#include <memory>
#include <random>
#include <set>

#include "FaultRig.h"
#include "Outside.h"
#include "PlayerCheck.h"

namespace fillstation::faults {

namespace {

constexpr int kRounds = 8;
const std::vector<std::string> kNames{"a", "b", "c", "d"};
constexpr std::array<Step::Kind, 5> kSteps{Step::Kind::kUnmount, Step::Kind::kWipe,
                                           Step::Kind::kFormat, Step::Kind::kMount,
                                           Step::Kind::kOpen};

// Rounds of random faults, actions and runs on the real bench, with real bytes. The explorer
// (tests/explore) does this a hundred thousand times in memory, this test some hundred times in
// reality.
class BenchExplorerTest : public ::testing::TestWithParam<unsigned> {
 protected:
  void SetUp() override {
    for (const auto& name : kNames) {
      fresh(name);
    }
    BenchPlayerPlan foreign;
    foreign.name = "foreign";
    foreign.label = "PHOTOS";
    foreign.identity.vendor = "OTHER";
    rig.make(foreign);
    rig.addBook();
  }

  std::size_t pick(std::size_t count) { return static_cast<std::size_t>(random() % count); }
  bool oneOf(std::size_t count) { return pick(count) == 0; }

  BenchFaults anyFault() {
    BenchFaults faults;
    const auto bytes = static_cast<std::int64_t>(1 + pick(12 * kTrackBytes));
    const std::vector<std::function<void()>> all{
        [&] { faults.pull = static_cast<PullMoment>(1 + pick(6)); },
        [&] {
          faults.pull = PullMoment::kAfterBytes;
          faults.pullAfterBytes = bytes;
        },
        [&] { faults.pull = PullMoment::kDuringFlush; },
        [&] { faults.failAfterBytes = bytes; },
        [&] { faults.readOnlyAfterBytes = bytes; },
        [&] { faults.refuseMount = true; },
        [&] { faults.refuseUnmount = true; },
        [&] { faults.refuseFormat = true; },
        [&] { faults.remount = RemountMoment::kAfterUnmount; }};
    if (const std::size_t which = pick(12); which < all.size()) {
      all[which]();
    }
    return faults;
  }

  // A player that has never been plugged in before, under an old name.
  void fresh(const std::string& name) {
    BenchPlayerPlan plan;
    plan.name = name;
    plan.label = "PLAYER";
    plan.identity.faults = anyFault();
    pullsItself[name] = plan.identity.faults.pull != PullMoment::kNever;
    rig.make(plan);
  }

  bool isPlugged(const std::string& name) const {
    return rig.imageOf(name).find("/pulled/") == std::string::npos;
  }
  // All missing players are plugged in, most with other faults; ejected ones as well.
  void plugEverybody() {
    ASSERT_TRUE(rig.await([this] { return isUpToDate(); }));
    for (const auto& name : kNames) {
      if (isPlugged(name) && !oneOf(3)) {
        continue;
      }
      if (isPlugged(name)) {
        rig.pull(name, nodeOf(name));
      }
      if (!oneOf(4)) {
        fresh(name);
      }
      const std::size_t before = rig.listed().size();
      ASSERT_TRUE(plugPlayer(rig.benchFolder, name));
      ASSERT_TRUE(rig.await([&] { return rig.listed().size() == before + 1; })) << name;
      std::erase_if(nameOf, [&](const auto& entry) { return entry.second == name; });
      nameOf[rig.listed().back()] = name;
    }
  }
  // Unplugged players are no longer listed.
  bool isUpToDate() const {
    const auto listed = rig.listed();
    return std::all_of(listed.begin(), listed.end(),
                       [this](const auto& node) { return isPlugged(nameOf.at(node)); });
  }
  std::string nodeOf(const std::string& name) const {
    return std::find_if(nameOf.begin(), nameOf.end(),
                        [&](const auto& entry) { return entry.second == name; })
        ->first;
  }

  // At one step of a run, for whichever player comes there first.
  void arrangeHand() {
    const auto kind = kSteps[pick(kSteps.size())];
    auto hand = pick(4);
    // A player that unplugs itself frees a name, which the next player would get.
    if ((hand == 1 || hand == 2) && namesMayChange()) {
      hand = 0;
    }
    rig.hooks.before = [this, kind, hand,
                        done = std::make_shared<std::atomic<bool>>()](const Step& step) {
      if (step.kind != kind || done->exchange(true) || !isPlugged(nameOf.at(step.node))) {
        return;
      }
      const std::string& name = nameOf.at(step.node);
      if (hand == 0) {
        rig.pull(name, step.node);
      } else if (hand == 1) {
        rig.pull(name, step.node);
        rig.plug(name, step.node);
      } else if (hand == 2 && !isPlugged("foreign")) {
        foreignNode = step.node;
        rig.pull(name, step.node);
        rig.plug("foreign", step.node);
      }
    };
  }

  bool namesMayChange() const {
    return std::any_of(pullsItself.begin(), pullsItself.end(),
                       [](const auto& entry) { return entry.second; });
  }

  void runAndJudge(const char* password) {
    std::set<std::string> tookPart;
    for (const auto& node : rig.ticked()) {
      tookPart.insert(nameOf.at(node));
    }
    const Outside before(rig.folder.path(), tookPart);
    std::map<std::string, std::string> digests;
    for (const auto& name : tookPart) {
      digests[name] = digestOf(rig.imageOf(name));
    }
    rig.confirm(password);
    const auto nodes = FaultRig::namedIn(rig.readSummary());
    ASSERT_TRUE(nodes);
    std::set<std::string> named;
    for (const auto& node : *nodes) {
      named.insert(nameOf.at(node));
    }
    // Or have their earlier contents: the results of an earlier run don't count.
    std::set<std::string> incomplete;
    for (const auto& name : tookPart) {
      const std::string image = rig.imageOf(name);
      if (!demo::checkPlayer(QString::fromStdString(image), rig.roots()).complete() ||
          digestOf(image) == digests[name]) {
        incomplete.insert(name);
      }
    }
    EXPECT_EQ(named, incomplete);
    EXPECT_EQ(joined(Outside(rig.folder.path(), tookPart).changesSince(before)), "");
  }

  std::mt19937 random{GetParam()};
  FaultRig rig{{}};
  std::map<std::string, std::string> nameOf;  // of the players, by node
  std::map<std::string, bool> pullsItself;    // by its faults
  std::string foreignNode;
};

INSTANTIATE_TEST_SUITE_P(Seed, BenchExplorerTest, ::testing::Range(1U, 7U));

TEST_P(BenchExplorerTest, NamesExactlyTheIncompletePlayersAndChangesNothingElse) {
  for (int round = 0; round < kRounds && !HasFailure(); ++round) {
    SCOPED_TRACE("round " + std::to_string(round));
    plugEverybody();
    rig.tickAll();
    rig.ask();
    arrangeHand();
    runAndJudge(oneOf(8) ? "guess" : "bench");
    rig.hooks.before = nullptr;
    if (oneOf(3)) {
      rig.ejectTicked();
    }
    if (isPlugged("foreign")) {
      rig.pull("foreign", foreignNode);
    }
  }
}

}  // namespace

}  // namespace fillstation::faults
