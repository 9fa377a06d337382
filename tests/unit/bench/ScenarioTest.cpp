#include "Scenario.h"

#include <gtest/gtest.h>

#include "TempFolder.h"

namespace fillstation {

namespace {

Scenario good(std::string_view content) {
  const auto parsed = parseScenario(content, "file");
  if (const auto* error = std::get_if<std::string>(&parsed)) {
    ADD_FAILURE() << *error;
    return {};
  }
  return std::get<Scenario>(parsed);
}

// The error without the file's name.
std::string bad(std::string_view content) {
  const auto parsed = parseScenario(content, "s.json");
  const auto* error = std::get_if<std::string>(&parsed);
  return error != nullptr && error->starts_with("s.json:") ? error->substr(7) : "no error";
}

BenchPlayerPlan goodPlayer(const std::string& keys) {
  return good("[{\"name\": \"a\"" + keys + "}]").at(0);
}

TEST(ScenarioTest, AnEmptyListOfPlayersIsAScenario) { EXPECT_EQ(good("[]"), Scenario()); }

TEST(ScenarioTest, EveryKeyIsRead) {
  const Scenario scenario = good(R"([
      {"name": "first-1_A", "sizeMiB": 8192, "label": "ELEVENCHARS", "blank": true,
       "product": "", "manufacturer": "M", "serial": "S", "release": 4660, "vendor": "V",
       "disk": true, "slot": "left", "speed": "12",
       "faults": {"bytesPerSecond": 1, "pull": "after-bytes", "pullAfterBytes": 2,
                  "failAfterBytes": 0, "refuseMount": true, "refuseUnmount": true,
                  "refuseFormat": true, "remount": "after-format", "readOnlyAfterBytes": 0, "lie": "wraps", "lieFrom": 3, "lieBytes": 4}},
      {"name": "second", "product": "P", "label": ""}
    ])");
  BenchPlayerPlan first;
  first.name = "first-1_A";
  first.sizeMiB = 8192;
  first.label = "ELEVENCHARS";
  first.blank = true;
  first.identity = {"", "M", "S", 0x1234, "V", true, {}, "left", "12"};
  first.identity.faults = {1,    PullMoment::kAfterBytes,     2, 0,           true, true,
                           true, RemountMoment::kAfterFormat, 0, Lie::kWraps, 3,    4};
  BenchPlayerPlan second;
  second.name = "second";
  second.identity.product = "P";
  EXPECT_EQ(scenario, Scenario({first, second}));
}

TEST(ScenarioTest, EveryKeyThatIsAbsentHasItsDefault) {
  const BenchPlayerPlan plan = goodPlayer("");
  EXPECT_EQ(plan.sizeMiB, 64);
  EXPECT_FALSE(plan.blank);
  const BenchIdentity& identity = plan.identity;
  EXPECT_EQ(identity.product, "HS USB FlashDisk");
  EXPECT_EQ(identity.manufacturer, "Fillstation Bench");
  EXPECT_EQ(identity.serial, "0001");
  EXPECT_EQ(identity.release, 256);
  EXPECT_EQ(identity.vendor, "ACTIONS");
  EXPECT_EQ(identity.speed, "480");
  EXPECT_TRUE(identity.disk);
  EXPECT_EQ(identity.faults, (BenchFaults{0, PullMoment::kNever, 0, -1, false, false, false,
                                          RemountMoment::kNever, -1, Lie::kNone, 4096, 0}));
}

TEST(ScenarioTest, NumbersMayLieAtTheirBounds) {
  EXPECT_EQ(goodPlayer(", \"sizeMiB\": 64").sizeMiB, 64);
  EXPECT_EQ(goodPlayer(", \"sizeMiB\": 8192").sizeMiB, 8192);
  EXPECT_EQ(goodPlayer(", \"disk\": false, \"sizeMiB\": 0").sizeMiB, 0);
}

TEST(ScenarioTest, EveryMomentAndEveryLieHasItsName) {
  const auto faults = [](const std::string& key, const std::string& value) {
    return goodPlayer(", \"faults\": {\"" + key + "\": \"" + value + "\"}").identity.faults;
  };
  const std::vector<std::string> moments{"before-unmount", "during-wipe",  "before-format",
                                         "during-format",  "before-mount", "during-mount",
                                         "after-bytes",    "during-flush", "during-read-back"};
  for (std::size_t at = 0; at < moments.size(); ++at) {
    EXPECT_EQ(faults("pull", moments[at]).pull, static_cast<PullMoment>(at + 1)) << moments[at];
  }
  EXPECT_EQ(faults("remount", "after-unmount").remount, RemountMoment::kAfterUnmount);
  EXPECT_EQ(faults("remount", "after-format").remount, RemountMoment::kAfterFormat);
  EXPECT_EQ(faults("lie", "drops").lie, Lie::kDrops);
  EXPECT_EQ(faults("lie", "wraps").lie, Lie::kWraps);
  EXPECT_EQ(faults("lie", "flips").lie, Lie::kFlips);
}

TEST(ScenarioTest, AMistakeHasItsKeyAndReason) {
  const std::string size = ".sizeMiB: must be a whole number from 64 to 8192";
  const std::string name = R"(.name: must be made of letters, digits, "-" and "_")";
  const std::string text = ": must be a text";
  const std::string flag = ": must be true or false";
  const std::string huge = "9223372036854775807";
  // A player's keys after its name, and the expected problem.
  const std::vector<std::pair<std::string, std::string>> mistakes{
      {R"("sizeMiB": 63)", size},
      {R"("sizeMiB": 8193)", size},
      {R"("sizeMiB": 64.5)", size},
      {R"("sizeMiB": "64")", size},
      {R"("sizeMiB": 18446744073709551615)", size},
      {R"("label": "TWELVECHARS!")", ".label: must have up to 11 characters"},
      {R"("label": 1)", ".label" + text},
      {R"("disk": false, "sizeMiB": -1)", ".sizeMiB: must be a whole number from 0 to 8192"},
      {R"("product": 1)", ".product" + text},
      {R"("name": "")", name},
      {R"("name": "a/b")", name},
      {R"("name": "a.b")", name},
      {R"("name": 1, "vendor": 1)", ".name" + text},
      {R"("release": 65536)", ".release: must be a whole number from 0 to 65535"},
      {R"("manufacturer": 1)", ".manufacturer" + text},
      {R"("serial": 1)", ".serial" + text},
      {R"("vendor": 1)", ".vendor" + text},
      {R"("disk": 1)", ".disk" + flag},
      {R"("blank": 1)", ".blank" + flag},
      {R"("colour": "red")", ".colour: is not a known key"},
      {R"("faults": 1)", ".faults: must be an object"},
      {R"("faults": {"pulled": true})", ".faults.pulled: is not a known key"},
      {R"("faults": {"refuseMount": 1})", ".faults.refuseMount" + flag},
      {R"("faults": {"refuseUnmount": 1})", ".faults.refuseUnmount" + flag},
      {R"("faults": {"refuseFormat": 1})", ".faults.refuseFormat" + flag},
      {R"("faults": {"bytesPerSecond": 0})",
       ".faults.bytesPerSecond: must be a whole number from 1 to " + huge},
      {R"("faults": {"failAfterBytes": -1})",
       ".faults.failAfterBytes: must be a whole number from 0 to " + huge},
      {R"("faults": {"pullAfterBytes": 0})",
       ".faults.pullAfterBytes: must be a whole number from 1 to " + huge},
      {R"("faults": {"readOnlyAfterBytes": -1})",
       ".faults.readOnlyAfterBytes: must be a whole number from 0 to " + huge},
      {R"("faults": {"lieFrom": 0})", ".faults.lieFrom: must be a whole number from 1 to " + huge},
      {R"("faults": {"lieBytes": 0})",
       ".faults.lieBytes: must be a whole number from 1 to " + huge},
      {R"("faults": {"pull": "never"})",
       ".faults.pull: must be one of before-unmount, during-wipe, before-format, during-format, "
       "before-mount, during-mount, after-bytes, during-flush, during-read-back"},
      {R"("faults": {"remount": "later"})",
       ".faults.remount: must be one of after-unmount, after-format"},
      {R"("faults": {"lie": "white"})", ".faults.lie: must be one of drops, wraps, flips"}};
  for (const auto& [keys, mistake] : mistakes) {
    EXPECT_EQ(bad(R"([{"name": "a"}, {"name": "b", )" + keys + "}]"), " [1]" + mistake);
  }
  EXPECT_EQ(bad("[{}]"), " [0]" + name);
  EXPECT_EQ(bad("[1]"), " [0]: must be an object");
  EXPECT_EQ(bad(R"([{"name": "a"}, {"name": "b"}, {"name": "a"}])"),
            " [2].name: is another player's too");
  EXPECT_EQ(bad("{}"), " must be a list of players");
  EXPECT_EQ(std::get<std::string>(parseIdentity("[]", "i")), "i: must be an object");
}

TEST(ScenarioTest, ASyntaxErrorHasItsLine) {
  EXPECT_TRUE(bad("").starts_with("1: ")) << bad("");
  EXPECT_TRUE(bad("[\n{\n]\n").starts_with("3: "));
  EXPECT_TRUE(bad("[\n\n").starts_with("3: "));
  EXPECT_TRUE(bad("[\n\xff\n]").starts_with("2: "));
  EXPECT_TRUE(bad("[\n1e999]").starts_with("2: "));
}

TEST(ScenarioTest, FilesAreReadFromTheDisk) {
  const test::TempFolder folder;
  const std::string none = folder.path("none");
  EXPECT_EQ(std::get<std::string>(readScenario(none)), none + ": can't be read");
  EXPECT_EQ(std::get<BenchIdentity>(readIdentity(none)), BenchIdentity());
  const std::string scenario = folder.write("s.json", "[{\"name\": \"a\"}]");
  EXPECT_EQ(std::get<Scenario>(readScenario(scenario)).size(), 1U);
  const std::string identity = folder.write("i.json", "{\n\"vendor\": 1}");
  EXPECT_EQ(std::get<std::string>(readIdentity(identity)), identity + ": vendor: must be a text");
}

TEST(ScenarioTest, AnIdentityHasNoKeysOfTheImage) {
  for (const std::string key : {"name", "sizeMiB", "label", "blank"}) {
    const auto parsed = parseIdentity("{\"" + key + "\": 1}", "i");
    EXPECT_EQ(std::get<std::string>(parsed), "i: " + key + ": is not a known key");
  }
}

TEST(ScenarioTest, AnIdentityReadsBackAsItself) {
  BenchIdentity plain;
  BenchIdentity odd{"", "M\"ä", "", 0x9876, "V", false, {}, "left", "12"};
  odd.faults = {5,    PullMoment::kAfterBytes,     6, 7,           true, true,
                true, RemountMoment::kAfterFormat, 9, Lie::kFlips, 1,    2};
  BenchIdentity pulled;
  pulled.faults.pull = PullMoment::kDuringWipe;
  pulled.faults.remount = RemountMoment::kAfterUnmount;
  for (const auto& identity : {plain, odd, pulled}) {
    const auto parsed = parseIdentity(identityText(identity), "i");
    ASSERT_TRUE(std::holds_alternative<BenchIdentity>(parsed)) << std::get<std::string>(parsed);
    EXPECT_EQ(std::get<BenchIdentity>(parsed), identity);
  }
}

}  // namespace

}  // namespace fillstation
