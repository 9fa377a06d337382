#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <map>
#include <set>

#include "FaultCase.h"
#include "Outside.h"
#include "PlayerCheck.h"

namespace fillstation::faults {

// GoogleTest's name of a case.
inline void PrintTo(const FaultCase& planned, std::ostream* out) { *out << planned.name; }

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

// The rows of the first table that docs/reliability.md shows of the bench.
std::vector<std::string> documentedRows() {
  std::ifstream page(FILLSTATION_RELIABILITY_PAGE);
  std::string line;
  while (std::getline(page, line) && line != "## On the virtual bench") {
  }
  while (std::getline(page, line) && !line.starts_with("|---")) {
  }
  std::vector<std::string> rows;
  while (std::getline(page, line) && line.starts_with("|")) {
    rows.push_back(line);
  }
  return rows;
}

// Performs a case at the window, reads every medium back with tools that are not ours, and judges:
// the run ends (or waits, if it must), the summary names exactly the players that took part and are
// not complete, every other player holds every file, and nothing else has changed.
class FaultMatrixTest : public ::testing::TestWithParam<FaultCase> {
 protected:
  FaultMatrixTest() {
    for (std::size_t index = 0; index < kPlayers.size(); ++index) {
      nameOf[rig.listed().at(index)] = kPlayers[index];
    }
  }

  void act(const std::function<void(FaultRig&)>& action) {
    if (action) {
      action(rig);
    }
  }

  Outside lookAround() const {
    return {rig.folder.path(), std::set<std::string>(kPlayers.begin(), kPlayers.end())};
  }

  // The run, until its summary or until it certainly waits: the table's entries about both.
  std::string watch() {
    if (!planned.waits) {
      const std::string summary = rig.readSummary();
      const auto nodes = FaultRig::namedIn(summary);
      EXPECT_TRUE(nodes) << summary;
      for (const auto& node : nodes.value_or(std::vector<std::string>())) {
        named.push_back(nameOf.contains(node) ? nameOf[node] : node);
      }
      return std::string(summary.empty() ? "goes on" : "ends") + " | " +
             (named.empty() ? "nobody" : joined(named));
    }
    const auto ended = [this] {
      const auto all = rig.log.texts();
      return std::count(all.begin(), all.end(), "done\n");
    };
    EXPECT_TRUE(rig.await([&] { return ended() == 2; }));
    const std::int64_t pauses = rig.clock.pauses();
    EXPECT_TRUE(rig.await([&] { return rig.clock.pauses() > pauses + kManyPauses; }));
    EXPECT_EQ(ended(), 2);
    return rig.isRunning() ? "waits | not shown" : "ends | shown";
  }

  // The table's entries about the affected player and the two others.
  std::string readBack(const std::string& untouched) {
    std::vector<std::string> incomplete;
    std::string hit;
    int complete = 0;
    int files = 0;
    for (const auto& name : kPlayers) {
      const auto check = demo::checkPlayer(QString::fromStdString(rig.imageOf(name)), rig.roots());
      if (tookPart.contains(name) && !check.complete()) {
        incomplete.push_back(name);
      }
      if (name == kHit) {
        const bool same = digestOf(rig.imageOf(name)) == untouched;
        hit = check.complete() ? "complete" : same ? "untouched" : "not complete";
        EXPECT_TRUE(tookPart.contains(name) || same) << "not in the run, and changed";
      } else {
        complete += check.complete() ? 1 : 0;
        files += check.files;
        EXPECT_TRUE(check.complete()) << name << ": " << check.faults.join("; ").toStdString();
      }
    }
    if (planned.unproven) {
      incomplete.emplace_back(kHit);
    }
    if (!planned.waits) {
      EXPECT_EQ(named, incomplete);
    }
    return hit + " | " + std::to_string(complete) + " of 2 complete, " + std::to_string(files) +
           " of " + std::to_string(2 * demo::fileCount(rig.roots())) + " files";
  }

  const FaultCase planned = GetParam();
  FaultRig rig{plansOf(planned)};
  std::map<std::string, std::string> nameOf;  // by node
  std::set<std::string> tookPart;
  std::vector<std::string> named;
};

// A test's name from a case's.
std::string nameOf(const ::testing::TestParamInfo<FaultCase>& info) {
  std::string name = info.param.name;
  std::replace_if(
      name.begin(), name.end(), [](unsigned char letter) { return std::isalnum(letter) == 0; },
      '_');
  return name;
}

INSTANTIATE_TEST_SUITE_P(Bench, FaultMatrixTest, ::testing::ValuesIn(faultCases()), nameOf);

TEST_P(FaultMatrixTest, EndsAsItMust) {
  rig.addBook(planned.audioMiB);
  act(planned.prepare);
  const Outside before = lookAround();
  rig.tickAll();
  act(planned.ticked);
  const std::string untouched = digestOf(rig.imageOf(kHit));
  rig.ask();
  act(planned.asked);
  for (const auto& node : rig.ticked()) {
    tookPart.insert(nameOf[node]);
  }
  rig.confirm();
  const std::string run = watch();
  const std::string players = readBack(untouched);
  const std::string changes = joined(lookAround().changesSince(before));
  EXPECT_EQ(changes, "");
  if (planned.ended) {
    EXPECT_EQ(joined(planned.ended(rig)), "");
  }
  const std::string row = "| " + planned.name + " | " + run + " | " + players + " | " +
                          (changes.empty() ? "unchanged" : changes) + " |";
  std::printf("\n%s\n", row.c_str());
  const auto documented = documentedRows();
  EXPECT_NE(std::find(documented.begin(), documented.end(), row), documented.end())
      << "docs/reliability.md doesn't say: " << row;
}

TEST(FaultTableTest, TheTableHasExactlyTheCasesInTheirOrder) {
  std::vector<std::string> names;
  for (const auto& planned : faultCases()) {
    names.push_back(planned.name);
  }
  std::vector<std::string> documented;
  for (const auto& row : documentedRows()) {
    documented.push_back(row.substr(2, row.find(" |") - 2));
  }
  EXPECT_EQ(documented, names);
}

// The table depends on this: one changed byte changes the digest.
TEST(OutsideTest, EveryByteOfAFileCounts) {
  const test::TempFolder folder;
  const std::string image = folder.write("a.img", "x");
  std::filesystem::resize_file(image, 1 << 20);
  const Outside before(folder.path(), {});
  std::set<std::string> digests{digestOf(image)};
  for (const std::streamoff at : {0, 1, 4095, 4096, (1 << 20) - 1}) {
    std::fstream file(image, std::ios::in | std::ios::out | std::ios::binary);
    file.seekp(at);
    file << 'y';
    file.close();
    digests.insert(digestOf(image));
  }
  std::filesystem::resize_file(image, 2 << 20);
  digests.insert(digestOf(image));
  EXPECT_EQ(digests.size(), 7U);
  folder.write("new", "");
  EXPECT_EQ(Outside(folder.path(), {}).changesSince(before),
            (std::vector<std::string>{"a.img has changed", "new has come"}));
  EXPECT_EQ(before.changesSince(Outside(folder.path(), {"a"})),
            (std::vector<std::string>{"a.img has come", "new has gone"}));
}

}  // namespace

}  // namespace fillstation::faults
