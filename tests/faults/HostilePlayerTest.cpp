#include <gtest/gtest.h>

#include <fstream>
#include <mutex>
#include <set>

#include "FaultRig.h"

namespace fillstation::faults {

namespace {

constexpr const char* kPlaceholder = "PLACEHOLDER";

// No tool makes such a label: it is written over another one, in boot sector and root directory.
void relabel(const std::string& image, std::string label) {
  label.resize(std::string(kPlaceholder).size(), ' ');
  std::fstream file(image, std::ios::in | std::ios::out | std::ios::binary);
  std::string head(4 << 20, '\0');
  file.read(head.data(), static_cast<std::streamsize>(head.size()));
  for (auto at = head.find(kPlaceholder); at != std::string::npos;
       at = head.find(kPlaceholder, at + 1)) {
    head.replace(at, label.size(), label);
  }
  file.seekp(0);
  file << head;
}

// What is asked of the machine for a player whose texts are all hostile.
class HostilePlayerTest : public ::testing::TestWithParam<std::string> {};

INSTANTIATE_TEST_SUITE_P(Names, HostilePlayerTest,
                         ::testing::Values("../sda", "/dev/sda", "sda; rm", "$(rm)", "\" & \\",
                                           "sda\nsdb"));

TEST_P(HostilePlayerTest, KeepsItsOwnDeviceWhateverItSaysOfItself) {
  BenchPlayerPlan player;
  player.name = "hit";
  player.label = kPlaceholder;
  player.identity.manufacturer = GetParam();
  player.identity.serial = GetParam();
  player.identity.port = GetParam();
  FaultRig rig({});
  relabel(rig.make(player), GetParam());
  rig.plug(player.name, "/dev/vp0");
  ASSERT_TRUE(rig.await([&] { return rig.listed().size() == 1; }));
  std::set<std::string> nodes;
  std::mutex lock;
  rig.hooks.before = [&](const Step& step) {
    const std::scoped_lock guard(lock);
    nodes.insert(step.node);
  };
  rig.addBook();
  rig.tickAll();
  rig.ask();
  rig.confirm();
  EXPECT_EQ(rig.readSummary(), "Process Completed.");
  EXPECT_EQ(nodes, std::set<std::string>{"/dev/vp0"});
}

}  // namespace

}  // namespace fillstation::faults
