#include <gtest/gtest.h>

#include <fstream>
#include <set>

#include "Book.h"
#include "FaultRig.h"
#include "Outside.h"
#include "ScriptCompiler.h"
#include "UsbUtil.h"

namespace fillstation::faults {

namespace {

const std::vector<std::string> kHostile{"../sda",
                                        "/dev/sda",
                                        "sda; rm -rf ~",
                                        "sda && reboot",
                                        "$(reboot)",
                                        "`reboot`",
                                        "sda\nsdb",
                                        "sd a",
                                        "",
                                        "sda/../sdb",
                                        "disk\\x",
                                        "SDA",
                                        "sda\"",
                                        "sda'",
                                        "1sda",
                                        "sda1b",
                                        "mapper/luks",
                                        "sda\t",
                                        "by-id/x",
                                        "nvme0n1p1",
                                        "/",
                                        ".",
                                        "..",
                                        "sdä",
                                        "sda\0b",
                                        "sda#",
                                        "sda*",
                                        "sda>x",
                                        "sda|x",
                                        "-sda",
                                        "sda of=/dev/sdb",
                                        "sda bs=4k count=10",
                                        std::string(4096, 'a'),
                                        std::string("sda\0", 4)};

TEST(HostileNamesTest, NoneIsADeviceThatACommandMayName) {
  for (const auto& name : kHostile) {
    for (const std::string prefix : {"/dev/", ""}) {
      const std::string node = prefix + name;
      EXPECT_FALSE(parsePlayerCommand("mkfs.fat -F32 " + node) && node != "/dev/sda") << node;
      EXPECT_FALSE(parsePlayerCommand("dd if=/dev/zero of=" + node + " bs=4k count=10") &&
                   node != "/dev/sda")
          << node;
    }
  }
}

TEST(HostileNamesTest, AScenarioNamesNoFileOutsideOfItsBench) {
  for (const auto& name : kHostile) {
    std::string key;
    for (const char letter : name) {
      const bool isPlain = letter >= ' ' && letter != '"' && letter != '\\';
      key += isPlain ? std::string(1, letter) : "\\u0009";
    }
    const auto read = parseScenario(R"({"players": [{"name": ")" + key + "\"}]}", "s");
    const auto* scenario = std::get_if<Scenario>(&read);
    if (scenario != nullptr) {
      EXPECT_EQ(scenario->players.at(0).name.find_first_of("/. ;$`"), std::string::npos) << name;
    }
  }
}

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
  writeBook(rig.folder);
  rig.addBook();
  rig.tickAll();
  rig.ask();
  rig.confirm();
  EXPECT_EQ(rig.readSummary(), "Process Completed.");
  EXPECT_EQ(nodes, std::set<std::string>{"/dev/vp0"});
}

// The bench knows its own players alone, by whatever name they are asked for.
TEST(HostileNamesTest, TheBenchRunsNoCommandOnADiskOfTheMachine) {
  BenchPlayerPlan player;
  player.name = "hit";
  FaultRig rig({player});
  const auto handle =
      static_cast<std::uint32_t>(rig.windows->players()->listed().at(0)->IONumber());
  std::vector<std::string> nodes{"/dev/sda", "/dev/vda", "/dev/nvme0n1", "/dev/vp1", "/dev/null"};
  for (const auto& name : kHostile) {
    nodes.push_back("/dev/" + name);
    nodes.push_back(name);
  }
  for (const auto& node : nodes) {
    EXPECT_EQ(session->diskFromName(node), nullptr) << node;
    for (const auto& target : {node, std::string("/dev/vp0")}) {
      const auto outcome = platform().scriptRunner->run(
          "do shell script \"mkfs.fat -F32 " + node +
              "\" user name \"bench\" password \"bench\" with administrator privileges",
          {target, handle});
      EXPECT_FALSE(outcome.result) << node;
      EXPECT_LT(outcome.errorNumber.value_or(0), 0) << node;  // refused, not tried
    }
  }
}

// What every table here rests on: one byte anywhere makes another digest.
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
