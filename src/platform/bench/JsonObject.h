#pragma once

#include <cstdint>
#include <nlohmann/json.hpp>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <vector>

namespace fillstation {

// Where in a JSON text something stands: keys, and indexes as decimal texts.
using JsonPath = std::vector<std::string>;

// The first thing found wrong while a JSON text is read.
struct JsonProblem {
  bool found = false;
  JsonPath path;
  std::string reason;

  // Keeps the problem unless there is one already. The reason begins with the path.
  void report(JsonPath where, const std::string& what);
};

// One object of a JSON text, read key by key. A value of the wrong kind is reported and leaves its
// target untouched, an absent one leaves it untouched too. Nothing is thrown. One thread; the value
// and the problem outlive it.
class JsonObject {
 public:
  // Reports a value that is not an object and then reads as an empty one.
  JsonObject(const nlohmann::json& value, JsonPath path, JsonProblem& problem);

  void read(const std::string& key, std::string& target);
  // null gives none.
  void read(const std::string& key, std::optional<std::string>& target);
  void read(const std::string& key, bool& target);
  // Whole numbers within both bounds only; true when there was one.
  bool read(const std::string& key, std::int64_t lowest, std::int64_t highest,
            std::int64_t& target);

  // The value of a key, null when there is none.
  const nlohmann::json* find(const std::string& key);
  JsonPath pathOf(const std::string& key) const;
  // Reports what is wrong with a key's value.
  void report(const std::string& key, const std::string& what);
  // Reports the first key that nobody asked for.
  void refuseOtherKeys();

 private:
  const nlohmann::json& value_;
  JsonPath path_;
  JsonProblem& problem_;
  std::set<std::string> asked_;
};

// The line, the first being 1, of a byte of a text.
int lineOfByte(std::string_view text, std::size_t byte);

// The line of the value (the key, where the path ends in one) that a path of a valid JSON text
// leads to; that of what encloses it when there is none.
int lineOfPath(std::string_view text, const JsonPath& path);

}  // namespace fillstation
