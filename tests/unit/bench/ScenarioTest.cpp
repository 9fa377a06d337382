#include "Scenario.h"

#include <gtest/gtest.h>

#include <algorithm>

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

// The error of a scenario with one player of these keys.
std::string badPlayer(const std::string& keys) { return bad("[{" + keys + "}]"); }

BenchPlayerPlan goodPlayer(const std::string& keys) {
  return good("[{\"name\": \"a\"" + keys + "}]").at(0);
}

TEST(ScenarioTest, AnEmptyListOfPlayersIsAScenario) { EXPECT_EQ(good("[]"), Scenario()); }

TEST(ScenarioTest, APlayerNeedsANameOnly) {
  const BenchPlayerPlan player = goodPlayer("");
  EXPECT_EQ(player.name, "a");
  EXPECT_EQ(player.sizeMiB, 64);
  EXPECT_EQ(player.label, std::nullopt);
  EXPECT_FALSE(player.blank);
  EXPECT_EQ(player.identity.product, "HS USB FlashDisk");
  EXPECT_EQ(player.identity.manufacturer, "Fillstation Bench");
  EXPECT_EQ(player.identity.serial, "0001");
  EXPECT_EQ(player.identity.release, 0x0100);
  EXPECT_EQ(player.identity.vendor, "ACTIONS");
  EXPECT_EQ(player.identity.port, "");
  EXPECT_TRUE(player.identity.disk);
  EXPECT_TRUE(player.identity.automount);
  EXPECT_EQ(player.identity.faults, BenchFaults());
}

TEST(ScenarioTest, EveryKeyIsRead) {
  const Scenario scenario = good(R"([
      {"name": "first-1_A", "sizeMiB": 8192, "label": "ELEVENCHARS", "blank": true,
       "product": null, "manufacturer": "M", "serial": "S", "release": "1234", "vendor": "V",
       "port": "1-2.3", "disk": true, "automount": false,
       "faults": {"bytesPerSecond": 1, "pull": "after-bytes", "pullAfterBytes": 2,
                  "failAfterBytes": 0, "refuseMount": true, "refuseUnmount": true,
                  "refuseFormat": true, "diskAfterSearches": 1000,
                  "remount": "after-format", "readOnlyAfterBytes": 0,
                  "lie": "wraps", "lieFrom": 3, "lieBytes": 4}},
      {"name": "second", "product": "P", "label": null}
    ])");
  BenchPlayerPlan first;
  first.name = "first-1_A";
  first.sizeMiB = 8192;
  first.label = "ELEVENCHARS";
  first.blank = true;
  first.identity = {std::nullopt, "M", "S", 0x1234, "V", "1-2.3", true, false, {}};
  first.identity.faults = {1,    PullMoment::kAfterBytes,     2, 0,           true, true, true,
                           1000, RemountMoment::kAfterFormat, 0, Lie::kWraps, 3,    4};
  BenchPlayerPlan second;
  second.name = "second";
  second.identity.product = "P";
  EXPECT_EQ(scenario, Scenario({first, second}));
}

TEST(ScenarioTest, SizesLieBetween64And8192MiB) {
  EXPECT_EQ(goodPlayer(", \"sizeMiB\": 64").sizeMiB, 64);
  EXPECT_EQ(goodPlayer(", \"sizeMiB\": 8192").sizeMiB, 8192);
  const std::string reason = " [0].sizeMiB: must be a whole number from 64 to 8192";
  for (const std::string size : {"63", "8193", "64.5", "\"64\"", "-1", "18446744073709551615"}) {
    EXPECT_EQ(badPlayer("\"name\": \"a\", \"sizeMiB\": " + size), reason) << size;
  }
}

TEST(ScenarioTest, ADeviceWithoutADiskHasAnySize) {
  EXPECT_EQ(goodPlayer(", \"disk\": false, \"sizeMiB\": 0").sizeMiB, 0);
}

TEST(ScenarioTest, LabelsHaveOneToElevenCharacters) {
  const std::string reason = " [0].label: must have 1 to 11 characters";
  EXPECT_EQ(badPlayer(R"("name": "a", "label": "")"), reason);
  EXPECT_EQ(badPlayer(R"("name": "a", "label": "TWELVECHARS!")"), reason);
  EXPECT_EQ(badPlayer(R"("name": "a", "label": 1)"), " [0].label: must be a text or null");
}

TEST(ScenarioTest, NamesAreFileNames) {
  const std::string reason = " [0].name: must be made of letters, digits, \"-\" and \"_\"";
  EXPECT_EQ(badPlayer(""), reason);
  EXPECT_EQ(badPlayer(R"("name": "")"), reason);
  EXPECT_EQ(badPlayer(R"("name": "a/b")"), reason);
  EXPECT_EQ(badPlayer(R"("name": "a.b")"), reason);
}

TEST(ScenarioTest, AReleaseHasFourDecimalDigits) {
  EXPECT_EQ(goodPlayer(", \"release\": \"0219\"").identity.release, 0x0219);
  const std::string reason = " [0].release: must be four decimal digits";
  EXPECT_EQ(badPlayer(R"("name": "a", "release": "123")"), reason);
  EXPECT_EQ(badPlayer(R"("name": "a", "release": "12345")"), reason);
  EXPECT_EQ(badPlayer(R"("name": "a", "release": "12a4")"), reason);
}

BenchFaults goodFaults(const std::string& keys) {
  return goodPlayer(", \"faults\": {" + keys + "}").identity.faults;
}

// The error of one player's faults, without their place.
std::string badFaults(const std::string& keys) {
  const std::string error = badPlayer(R"("name": "a", "faults": {)" + keys + "}");
  const std::string place = " [0].faults.";
  return error.starts_with(place) ? error.substr(place.size()) : error;
}

TEST(ScenarioTest, EveryMomentAndEveryLieHasItsName) {
  const auto pull = [](const std::string& name) {
    return goodFaults("\"pull\": \"" + name + "\"").pull;
  };
  EXPECT_EQ(pull("before-unmount"), PullMoment::kBeforeUnmount);
  EXPECT_EQ(pull("during-wipe"), PullMoment::kDuringWipe);
  EXPECT_EQ(pull("during-format"), PullMoment::kDuringFormat);
  EXPECT_EQ(pull("before-format"), PullMoment::kBeforeFormat);
  EXPECT_EQ(pull("before-mount"), PullMoment::kBeforeMount);
  EXPECT_EQ(pull("during-mount"), PullMoment::kDuringMount);
  EXPECT_EQ(pull("during-flush"), PullMoment::kDuringFlush);
  EXPECT_EQ(pull("during-read-back"), PullMoment::kDuringReadBack);
  EXPECT_EQ(badFaults(R"("pull": "later")"),
            "pull: must be one of before-unmount, during-wipe, before-format, during-format, "
            "before-mount, during-mount, after-bytes, during-flush, during-read-back");
  EXPECT_EQ(goodFaults(R"("remount": "after-unmount")").remount, RemountMoment::kAfterUnmount);
  EXPECT_EQ(goodFaults(R"("remount": "after-format")").remount, RemountMoment::kAfterFormat);
  EXPECT_EQ(badFaults(R"("remount": "later")"),
            "remount: must be one of after-unmount, after-format");
  EXPECT_EQ(goodFaults(R"("lieFrom": 1, "lie": "drops")").lie, Lie::kDrops);
  EXPECT_EQ(goodFaults(R"("lieFrom": 1, "lie": "wraps")").lie, Lie::kWraps);
  EXPECT_EQ(goodFaults(R"("lieFrom": 1, "lie": "flips")").lie, Lie::kFlips);
  EXPECT_EQ(badFaults(R"("lie": "white", "lieFrom": 1)"),
            "lie: must be one of drops, wraps, flips");
}

TEST(ScenarioTest, NumbersOfFaultsHaveBounds) {
  EXPECT_EQ(badFaults("\"bytesPerSecond\": 0"),
            "bytesPerSecond: must be a whole number from 1 to 9223372036854775807");
  EXPECT_NE(badFaults("\"pullAfterBytes\": 0").find("from 1 to"), std::string::npos);
  EXPECT_NE(badFaults("\"failAfterBytes\": -1").find("from 0 to"), std::string::npos);
  EXPECT_NE(badFaults("\"readOnlyAfterBytes\": -1").find("from 0 to"), std::string::npos);
  EXPECT_NE(badFaults("\"diskAfterSearches\": 1001").find("from 0 to 1000"), std::string::npos);
  EXPECT_NE(badFaults("\"diskAfterSearches\": -1").find("from 0 to 1000"), std::string::npos);
}

TEST(ScenarioTest, UnknownKeysAreErrorsEverywhere) {
  EXPECT_EQ(badPlayer(R"("name": "a", "colour": "red")"), " [0].colour: is not a known key");
  EXPECT_EQ(badFaults(R"("pulled": true)"), "pulled: is not a known key");
}

TEST(ScenarioTest, WrongTypesAreErrorsEverywhere) {
  EXPECT_EQ(bad("{}"), " must be a list of players");
  EXPECT_EQ(bad("[1]"), " [0]: must be an object");
  EXPECT_EQ(std::get<std::string>(parseIdentity("[]", "i")), "i: must be an object");
  const auto reason = [](const std::string& key) {
    const std::string error = badPlayer("\"name\": \"a\", \"" + key + "\": 1");
    return error.substr(std::min(error.size(), std::string(" [0].").size() + key.size()));
  };
  EXPECT_EQ(badPlayer("\"name\": 1"), " [0].name: must be a text");
  EXPECT_EQ(reason("product"), ": must be a text or null");
  EXPECT_EQ(reason("faults"), ": must be an object");
  for (const std::string key : {"manufacturer", "serial", "release", "vendor", "port"}) {
    EXPECT_EQ(reason(key), ": must be a text") << key;
  }
  for (const std::string key : {"disk", "automount", "blank"}) {
    EXPECT_EQ(reason(key), ": must be true or false") << key;
  }
  for (const std::string key : {"refuseMount", "refuseUnmount", "refuseFormat"}) {
    EXPECT_EQ(badFaults("\"" + key + "\": 1"), key + ": must be true or false");
  }
}

TEST(ScenarioTest, TheFirstMistakeIsReported) {
  EXPECT_EQ(bad("[{\"name\": 1}, {\"name\": 2}]"), " [0].name: must be a text");
}

TEST(ScenarioTest, ASyntaxErrorHasItsLine) {
  EXPECT_TRUE(bad("").starts_with("1: ")) << bad("");
  EXPECT_TRUE(bad("[\n{\n]\n").starts_with("3: "));
  EXPECT_TRUE(bad("[\n\n").starts_with("3: "));
  EXPECT_TRUE(bad("[\n\xff\n]").starts_with("2: "));
  EXPECT_TRUE(bad("[\n1e999]").starts_with("2: "));
}

TEST(ScenarioTest, AFileThatIsNotThereIsAnErrorWithoutALine) {
  const auto scenario = readScenario("/nowhere/s.json");
  EXPECT_EQ(std::get<std::string>(scenario), "/nowhere/s.json: can't be read");
  const auto identity = readIdentity("/nowhere/i.json");
  EXPECT_EQ(std::get<std::string>(identity), "/nowhere/i.json: can't be read");
}

TEST(ScenarioTest, FilesAreReadFromTheDisk) {
  const test::TempFolder folder;
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
  BenchIdentity odd{std::nullopt, "M\"ä", "", 0x9876, "V", "1-2", false, false, {}};
  odd.faults = {5, PullMoment::kAfterBytes,     6, 7,           true, true, true,
                8, RemountMoment::kAfterFormat, 9, Lie::kFlips, 1,    2};
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
