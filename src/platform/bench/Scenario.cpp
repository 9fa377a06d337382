#include "Scenario.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <algorithm>
#include <array>
#include <cctype>
#include <fstream>
#include <limits>
#include <optional>
#include <sstream>
#include <utility>

namespace fillstation {

namespace {

constexpr std::int64_t kAnyNumber = std::numeric_limits<std::int64_t>::max();
constexpr std::int64_t kSmallestMiB = 64;  // below it FAT32 has too few clusters
constexpr std::int64_t kLargestMiB = 8192;
constexpr std::size_t kLongestLabel = 11;  // FAT's

// In the order of their enumerations; the first value of each has no name.
constexpr std::array kPullMoments{"",
                                  "before-unmount",
                                  "during-wipe",
                                  "before-format",
                                  "during-format",
                                  "before-mount",
                                  "during-mount",
                                  "after-bytes",
                                  "during-flush",
                                  "during-read-back"};
constexpr std::array kRemountMoments{"", "after-unmount", "after-format"};
constexpr std::array kLies{"", "drops", "wraps", "flips"};

// One object of a JSON text, read key by key. A value of the wrong kind is a problem; an absent one
// leaves its target unchanged. An object is written by reading an empty one: the targets then hold
// the content.
class Keys {
 public:
  // Keeps the first problem; the text is empty without one, and outlives the keys.
  Keys(const QJsonValue& value, std::string path, std::string& problem)
      : given_(value.toObject()), path_(std::move(path)), problem_(problem) {
    if (!value.isObject()) {
      reportAt(path_, "must be an object");
    }
  }

  void read(const QString& key, std::string& target) {
    const QJsonValue value = given_.value(key);
    if (value.isString()) {
      target = value.toString().toStdString();
    } else if (!value.isUndefined()) {
      report(key, "must be a text");
    }
    content_.insert(key, QString::fromStdString(target));
  }

  void read(const QString& key, bool& target) {
    const QJsonValue value = given_.value(key);
    if (!value.isBool() && !value.isUndefined()) {
      report(key, "must be true or false");
    }
    target = value.toBool(target);
    content_.insert(key, target);
  }

  // Whole numbers within both bounds; a target below them counts as not set.
  void read(const QString& key, std::int64_t lowest, std::int64_t highest, std::int64_t& target) {
    const QJsonValue value = given_.value(key);
    if (!value.isUndefined()) {
      target = value.toInteger(lowest - 1);
      if (target < lowest || target > highest) {
        report(key, "must be a whole number from " + std::to_string(lowest) + " to " +
                        std::to_string(highest));
      }
    }
    if (target >= lowest) {
      content_.insert(key, static_cast<qint64>(target));
    }
  }

  // One of the names.
  template <class Value, std::size_t kCount>
  void read(const QString& key, const std::array<const char*, kCount>& names, Value& target) {
    std::string name = names.at(static_cast<std::size_t>(target));
    read(key, name);
    const auto found = std::find(names.begin(), names.end(), name);
    if (found != names.end()) {
      target = static_cast<Value>(found - names.begin());
      return;
    }
    std::string all;
    for (const char* const each : names) {
      all += (all.empty() ? "" : ", ") + std::string(each);
    }
    report(key, "must be one of " + all);
  }

  // Reads the object of a key, an empty one if it is absent.
  template <class Reader>
  void readObject(const QString& key, Reader reader) {
    const QJsonValue value = given_.value(key);
    Keys keys(value.isUndefined() ? QJsonValue(QJsonObject()) : value, pathOf(key), problem_);
    reader(keys);
    content_.insert(key, keys.content());
  }

  // Reports a problem with a key's value.
  void report(const QString& key, const std::string& what) { reportAt(pathOf(key), what); }

  // The whole object; reports the first unknown key.
  const QJsonObject& content() {
    for (const QString& key : given_.keys()) {
      if (!content_.contains(key)) {
        report(key, "is not a known key");
      }
    }
    return content_;
  }

 private:
  std::string pathOf(const QString& key) const {
    return (path_.empty() ? "" : path_ + ".") + key.toStdString();
  }

  void reportAt(const std::string& path, const std::string& what) {
    if (problem_.empty()) {
      problem_ = path.empty() ? what : path + ": " + what;
    }
  }

  const QJsonObject given_;
  QJsonObject content_;
  const std::string path_;
  std::string& problem_;
};

void readFaults(Keys& keys, BenchFaults& faults) {
  keys.read("bytesPerSecond", 1, kAnyNumber, faults.bytesPerSecond);
  keys.read("pull", kPullMoments, faults.pull);
  keys.read("pullAfterBytes", 1, kAnyNumber, faults.pullAfterBytes);
  keys.read("failAfterBytes", 0, kAnyNumber, faults.failAfterBytes);
  keys.read("refuseMount", faults.refuseMount);
  keys.read("refuseUnmount", faults.refuseUnmount);
  keys.read("refuseFormat", faults.refuseFormat);
  keys.read("remount", kRemountMoments, faults.remount);
  keys.read("readOnlyAfterBytes", 0, kAnyNumber, faults.readOnlyAfterBytes);
  keys.read("lie", kLies, faults.lie);
  keys.read("lieFrom", 1, kAnyNumber, faults.lieFrom);
  keys.read("lieBytes", 1, kAnyNumber, faults.lieBytes);
}

void readIdentityKeys(Keys& keys, BenchIdentity& identity) {
  keys.read("product", identity.product);
  keys.read("manufacturer", identity.manufacturer);
  keys.read("serial", identity.serial);
  keys.read("release", 0, 0xFFFF, identity.release);
  keys.read("vendor", identity.vendor);
  keys.read("slot", identity.slot);
  keys.read("speed", identity.speed);
  keys.read("disk", identity.disk);
  keys.readObject("faults", [&identity](Keys& faults) { readFaults(faults, identity.faults); });
}

bool isPlayerName(const std::string& name) {
  return !name.empty() && std::ranges::all_of(name, [](unsigned char sign) {
    return (sign < 0x80 && std::isalnum(sign) != 0) || sign == '-' || sign == '_';
  });
}

void readPlayer(Keys& keys, BenchPlayerPlan& plan) {
  keys.read("name", plan.name);
  if (!isPlayerName(plan.name)) {
    keys.report("name", "must be made of letters, digits, \"-\" and \"_\"");
  }
  readIdentityKeys(keys, plan.identity);
  keys.read("sizeMiB", plan.identity.disk ? kSmallestMiB : 0, kLargestMiB, plan.sizeMiB);
  keys.read("label", plan.label);
  if (plan.label.size() > kLongestLabel) {
    keys.report("label", "must have up to 11 characters");
  }
  keys.read("blank", plan.blank);
}

// The values that a text must hold: of a JSON object or list. The first problem is the reader's.
template <class Value, class Reader>
std::variant<Value, std::string> parse(std::string_view content, const std::string& file,
                                       Reader reader) {
  QJsonParseError error;
  const auto size = static_cast<qsizetype>(content.size());
  const auto document = QJsonDocument::fromJson(QByteArray(content.data(), size), &error);
  if (error.error != QJsonParseError::NoError) {
    const auto end = content.begin() + std::min<qsizetype>(error.offset, size);
    const auto line = 1 + std::count(content.begin(), end, '\n');
    return file + ":" + std::to_string(line) + ": " + error.errorString().toStdString();
  }
  std::string problem;
  Value value;
  reader(document, value, problem);
  if (!problem.empty()) {
    return file + ": " + problem;
  }
  return value;
}

// None when it can't be read.
std::optional<std::string> contentOf(const std::string& file) {
  std::ifstream stream(file, std::ios::binary);
  std::ostringstream content;
  content << stream.rdbuf();
  return stream ? std::optional(content.str()) : std::nullopt;
}

}  // namespace

std::variant<Scenario, std::string> parseScenario(std::string_view content,
                                                  const std::string& file) {
  const auto read = [](const QJsonDocument& document, Scenario& scenario, std::string& problem) {
    problem = document.isArray() ? "" : "must be a list of players";
    const QJsonArray players = document.array();
    for (const auto& player : players) {
      Keys keys(player, "[" + std::to_string(scenario.size()) + "]", problem);
      BenchPlayerPlan plan;
      readPlayer(keys, plan);
      keys.content();
      // Two of them would share an image.
      if (std::ranges::count(scenario, plan.name, &BenchPlayerPlan::name) > 0) {
        keys.report(QStringLiteral("name"), "is another player's too");
      }
      scenario.push_back(std::move(plan));
    }
  };
  return parse<Scenario>(content, file, read);
}

std::variant<BenchIdentity, std::string> parseIdentity(std::string_view content,
                                                       const std::string& file) {
  const auto read = [](const QJsonDocument& document, BenchIdentity& identity,
                       std::string& problem) {
    Keys keys(document.isObject() ? QJsonValue(document.object()) : QJsonValue(), "", problem);
    readIdentityKeys(keys, identity);
    keys.content();
  };
  return parse<BenchIdentity>(content, file, read);
}

std::variant<Scenario, std::string> readScenario(const std::string& file) {
  if (const auto content = contentOf(file)) {
    return parseScenario(*content, file);
  }
  return file + ": can't be read";
}

std::variant<BenchIdentity, std::string> readIdentity(const std::string& file) {
  const auto content = contentOf(file);
  return content ? parseIdentity(*content, file) : BenchIdentity{};
}

std::string identityText(const BenchIdentity& identity) {
  BenchIdentity written = identity;
  std::string problem;
  Keys keys(QJsonObject(), "", problem);
  readIdentityKeys(keys, written);
  return QJsonDocument(keys.content()).toJson().toStdString();
}

}  // namespace fillstation
