#include "Scenario.h"

#include <algorithm>
#include <array>
#include <fstream>
#include <limits>
#include <nlohmann/json.hpp>
#include <set>
#include <sstream>
#include <utility>

#include "JsonObject.h"

namespace fillstation {

namespace {

constexpr std::int64_t kAnyNumber = std::numeric_limits<std::int64_t>::max();
constexpr std::int64_t kSmallestMiB = 64;  // below it FAT32 has too few clusters
constexpr std::int64_t kLargestMiB = 8192;
constexpr std::size_t kLongestLabel = 11;  // FAT's

template <class Moment>
using Named = std::pair<const char*, Moment>;

constexpr std::array<Named<PullMoment>, 9> kPullMoments{{
    {"before-unmount", PullMoment::kBeforeUnmount},
    {"during-wipe", PullMoment::kDuringWipe},
    {"before-format", PullMoment::kBeforeFormat},
    {"during-format", PullMoment::kDuringFormat},
    {"before-mount", PullMoment::kBeforeMount},
    {"during-mount", PullMoment::kDuringMount},
    {"after-bytes", PullMoment::kAfterBytes},
    {"during-flush", PullMoment::kDuringFlush},
    {"during-read-back", PullMoment::kDuringReadBack},
}};

constexpr std::array<Named<RemountMoment>, 2> kRemountMoments{{
    {"after-unmount", RemountMoment::kAfterUnmount},
    {"after-format", RemountMoment::kAfterFormat},
}};

constexpr std::array<Named<Lie>, 3> kLies{{
    {"drops", Lie::kDrops},
    {"wraps", Lie::kWraps},
    {"flips", Lie::kFlips},
}};

// Reads a moment by its name; an absent one leaves the target untouched.
template <class Moment, std::size_t kCount>
void readMoment(JsonObject& object, const std::string& key,
                const std::array<Named<Moment>, kCount>& moments, Moment& target) {
  std::string given;
  object.read(key, given);
  std::string names;
  for (const auto& [name, value] : moments) {
    if (given == name) {
      target = value;
      return;
    }
    names += (names.empty() ? "" : ", ") + std::string(name);
  }
  if (!given.empty()) {
    object.report(key, "must be one of " + names);
  }
}

void readPull(JsonObject& object, BenchFaults& faults) {
  readMoment(object, "pull", kPullMoments, faults.pull);
  const bool counted = object.read("pullAfterBytes", 1, kAnyNumber, faults.pullAfterBytes);
  if (counted != (faults.pull == PullMoment::kAfterBytes)) {
    object.report("pull", "after-bytes and pullAfterBytes go together");
  }
}

BenchFaults readFaults(const nlohmann::json& value, JsonPath path, JsonProblem& problem) {
  JsonObject object(value, std::move(path), problem);
  BenchFaults faults;
  object.read("bytesPerSecond", 1, kAnyNumber, faults.bytesPerSecond);
  readPull(object, faults);
  std::int64_t failAfter = 0;
  if (object.read("failAfterBytes", 0, kAnyNumber, failAfter)) {
    faults.failAfterBytes = failAfter;
  }
  object.read("refuseMount", faults.refuseMount);
  object.read("refuseUnmount", faults.refuseUnmount);
  object.read("refuseFormat", faults.refuseFormat);
  object.read("diskAfterSearches", 0, 1'000, faults.diskAfterSearches);
  readMoment(object, "remount", kRemountMoments, faults.remount);
  std::int64_t readOnlyAfter = 0;
  if (object.read("readOnlyAfterBytes", 0, kAnyNumber, readOnlyAfter)) {
    faults.readOnlyAfterBytes = readOnlyAfter;
  }
  readMoment(object, "lie", kLies, faults.lie);
  const bool begins = object.read("lieFrom", 1, kAnyNumber, faults.lieFrom);
  if (begins != (faults.lie != Lie::kNone)) {
    object.report("lie", "lie and lieFrom go together");
  }
  object.read("lieBytes", 1, kAnyNumber, faults.lieBytes);
  object.refuseOtherKeys();
  return faults;
}

void readRelease(JsonObject& object, std::uint16_t& release) {
  std::string digits = "0100";
  object.read("release", digits);
  if (digits.size() != 4 || digits.find_first_not_of("0123456789") != std::string::npos) {
    object.report("release", "must be four decimal digits");
    return;
  }
  release = static_cast<std::uint16_t>(std::stoul(digits, nullptr, 16));
}

BenchIdentity readIdentityKeys(JsonObject& object, JsonProblem& problem) {
  BenchIdentity identity;
  object.read("product", identity.product);
  object.read("manufacturer", identity.manufacturer);
  object.read("serial", identity.serial);
  readRelease(object, identity.release);
  object.read("vendor", identity.vendor);
  object.read("port", identity.port);
  object.read("disk", identity.disk);
  object.read("automount", identity.automount);
  if (const auto* faults = object.find("faults")) {
    identity.faults = readFaults(*faults, object.pathOf("faults"), problem);
  }
  return identity;
}

bool isPlayerName(const std::string& name) {
  return !name.empty() && name.find_first_not_of(
                              "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789-_") ==
                              std::string::npos;
}

BenchPlayerPlan readPlayer(const nlohmann::json& value, JsonPath path, JsonProblem& problem) {
  JsonObject object(value, std::move(path), problem);
  BenchPlayerPlan plan;
  object.read("name", plan.name);
  if (!isPlayerName(plan.name)) {
    object.report("name", "must be made of letters, digits, \"-\" and \"_\"");
  }
  plan.identity = readIdentityKeys(object, problem);
  object.read("sizeMiB", plan.identity.disk ? kSmallestMiB : 0, kLargestMiB, plan.sizeMiB);
  object.read("label", plan.label);
  if (plan.label && (plan.label->empty() || plan.label->size() > kLongestLabel)) {
    object.report("label", "must have 1 to 11 characters");
  }
  object.read("blank", plan.blank);
  object.refuseOtherKeys();
  return plan;
}

Scenario readKeys(const nlohmann::json& root, JsonProblem& problem) {
  JsonObject object(root, {}, problem);
  Scenario scenario;
  if (const auto* value = object.find("credentials")) {
    JsonObject credentials(*value, {"credentials"}, problem);
    credentials.read("user", scenario.credentials.user);
    credentials.read("password", scenario.credentials.password);
    credentials.refuseOtherKeys();
  }
  const auto* players = object.find("players");
  if (players == nullptr || !players->is_array()) {
    object.report("players", "must be a list");
    return scenario;
  }
  std::set<std::string> names;
  for (std::size_t index = 0; index < players->size(); ++index) {
    const JsonPath path{"players", std::to_string(index)};
    scenario.players.push_back(readPlayer((*players)[index], path, problem));
    if (!names.insert(scenario.players.back().name).second) {
      problem.report(path, "there is a player of this name already");
    }
  }
  object.refuseOtherKeys();
  return scenario;
}

// Parses the text, has the reader read it, and gives what it read or the first problem.
template <class Value, class Reader>
std::variant<Value, ScenarioError> parse(std::string_view content, const std::string& file,
                                         Reader reader) {
  try {
    const nlohmann::json root = nlohmann::json::parse(content);
    JsonProblem problem;
    Value value = reader(root, problem);
    if (problem.found) {
      return ScenarioError{file, lineOfPath(content, problem.path), problem.reason};
    }
    return value;
  } catch (const nlohmann::json::parse_error& error) {
    return ScenarioError{file, lineOfByte(content, error.byte > 0 ? error.byte - 1 : 0),
                         error.what()};
  } catch (const nlohmann::json::out_of_range& error) {
    return ScenarioError{file, 0, error.what()};  // a number that no number holds
  }
}

std::optional<std::string> contentOf(const std::string& file) {
  std::ifstream stream(file, std::ios::binary);
  if (!stream) {
    return std::nullopt;
  }
  std::ostringstream content;
  content << stream.rdbuf();
  return content.str();
}

ScenarioError unreadable(const std::string& file) {
  return ScenarioError{file, 0, "can't be read"};
}

template <class Moment, std::size_t kCount>
const char* nameOf(Moment moment, const std::array<Named<Moment>, kCount>& moments) {
  return std::find_if(moments.begin(), moments.end(),
                      [&](const auto& entry) { return entry.second == moment; })
      ->first;
}

nlohmann::ordered_json jsonOf(const BenchFaults& faults) {
  nlohmann::ordered_json json = nlohmann::ordered_json::object();
  if (faults.bytesPerSecond != 0) {
    json["bytesPerSecond"] = faults.bytesPerSecond;
  }
  if (faults.pull != PullMoment::kNever) {
    json["pull"] = nameOf(faults.pull, kPullMoments);
  }
  if (faults.pull == PullMoment::kAfterBytes) {
    json["pullAfterBytes"] = faults.pullAfterBytes;
  }
  if (faults.failAfterBytes) {
    json["failAfterBytes"] = *faults.failAfterBytes;
  }
  json["refuseMount"] = faults.refuseMount;
  json["refuseUnmount"] = faults.refuseUnmount;
  json["refuseFormat"] = faults.refuseFormat;
  json["diskAfterSearches"] = faults.diskAfterSearches;
  if (faults.remount != RemountMoment::kNever) {
    json["remount"] = nameOf(faults.remount, kRemountMoments);
  }
  if (faults.readOnlyAfterBytes) {
    json["readOnlyAfterBytes"] = *faults.readOnlyAfterBytes;
  }
  if (faults.lie != Lie::kNone) {
    json["lie"] = nameOf(faults.lie, kLies);
  }
  if (faults.lieFrom != 0) {
    json["lieFrom"] = faults.lieFrom;
  }
  if (faults.lieBytes != 0) {
    json["lieBytes"] = faults.lieBytes;
  }
  return json;
}

std::string releaseDigits(std::uint16_t release) {
  std::string digits;
  for (int shift = 12; shift >= 0; shift -= 4) {
    digits += static_cast<char>('0' + ((release >> shift) & 0xF));
  }
  return digits;
}

}  // namespace

std::string ScenarioError::text() const {
  return file + ":" + (line > 0 ? std::to_string(line) + ":" : "") + " " + reason;
}

std::variant<Scenario, ScenarioError> parseScenario(std::string_view content,
                                                    const std::string& file) {
  return parse<Scenario>(content, file, readKeys);
}

std::variant<BenchIdentity, ScenarioError> parseIdentity(std::string_view content,
                                                         const std::string& file) {
  return parse<BenchIdentity>(content, file, [](const nlohmann::json& root, JsonProblem& problem) {
    JsonObject object(root, {}, problem);
    BenchIdentity identity = readIdentityKeys(object, problem);
    object.refuseOtherKeys();
    return identity;
  });
}

std::variant<Scenario, ScenarioError> readScenario(const std::string& file) {
  const auto content = contentOf(file);
  if (!content) {
    return unreadable(file);
  }
  return parseScenario(*content, file);
}

std::variant<BenchIdentity, ScenarioError> readIdentity(const std::string& file) {
  const auto content = contentOf(file);
  if (!content) {
    return unreadable(file);
  }
  return parseIdentity(*content, file);
}

std::string identityText(const BenchIdentity& identity) {
  nlohmann::ordered_json json = nlohmann::ordered_json::object();
  json["product"] = nullptr;
  if (identity.product) {
    json["product"] = *identity.product;
  }
  json["manufacturer"] = identity.manufacturer;
  json["serial"] = identity.serial;
  json["release"] = releaseDigits(identity.release);
  json["vendor"] = identity.vendor;
  json["port"] = identity.port;
  json["disk"] = identity.disk;
  json["automount"] = identity.automount;
  json["faults"] = jsonOf(identity.faults);
  return json.dump(2) + "\n";
}

}  // namespace fillstation
