#include "JsonObject.h"

#include <algorithm>
#include <utility>

namespace fillstation {

namespace {

std::string readable(const JsonPath& path) {
  std::string text;
  for (const auto& step : path) {
    if (step.find_first_not_of("0123456789") == std::string::npos) {
      text += "[" + step + "]";
    } else {
      text += (text.empty() ? "" : ".") + step;
    }
  }
  return text;
}

// Walks a JSON text that is known to be valid.
class JsonScan {
 public:
  explicit JsonScan(std::string_view text) : text_(text) { skipBlanks(); }

  // Goes down one step of a path; false, and no further than the start of the value, when there is
  // no such step.
  bool enter(const std::string& step) {
    const std::size_t start = at_;
    const bool object = text_[at_] == '{';
    ++at_;
    skipBlanks();
    for (std::size_t index = 0; text_[at_] != '}' && text_[at_] != ']'; ++index) {
      const std::size_t begin = at_;
      std::string name = std::to_string(index);
      if (object) {
        skipValue();
        name = nlohmann::json::parse(text_.substr(begin, at_ - begin)).get<std::string>();
        skipSeparator();
      }
      if (name == step) {
        lastStep_ = begin;
        return true;
      }
      skipValue();
      skipSeparator();
    }
    at_ = start;
    return false;
  }

  std::size_t lastStep() const { return lastStep_; }

 private:
  void skipBlanks() { at_ = std::min(text_.find_first_not_of(" \t\r\n", at_), text_.size()); }

  void skipSeparator() {
    skipBlanks();
    if (text_[at_] == ':' || text_[at_] == ',') {
      ++at_;
      skipBlanks();
    }
  }

  void skipString() {
    for (++at_; text_[at_] != '"'; ++at_) {
      if (text_[at_] == '\\') {
        ++at_;
      }
    }
    ++at_;
  }

  void skipValue() {
    int depth = 0;
    do {
      const char first = text_[at_];
      if (first == '"') {
        skipString();
      } else if (first == '{' || first == '[' || first == '}' || first == ']') {
        depth += first == '{' || first == '[' ? 1 : -1;
        ++at_;
      } else {
        at_ = std::min(text_.find_first_of(",:]}[{\" \t\r\n", at_ + 1), text_.size());
      }
    } while (depth > 0);
  }

  std::string_view text_;
  std::size_t at_ = 0;
  std::size_t lastStep_ = 0;
};

}  // namespace

void JsonProblem::report(JsonPath where, const std::string& what) {
  if (found) {
    return;
  }
  found = true;
  path = std::move(where);
  reason = path.empty() ? what : readable(path) + ": " + what;
}

JsonObject::JsonObject(const nlohmann::json& value, JsonPath path, JsonProblem& problem)
    : value_(value), path_(std::move(path)), problem_(problem) {
  if (!value_.is_object()) {
    problem_.report(path_, "must be an object");
  }
}

const nlohmann::json* JsonObject::find(const std::string& key) {
  asked_.insert(key);
  if (!value_.is_object()) {
    return nullptr;
  }
  const auto found = value_.find(key);
  return found != value_.end() ? &*found : nullptr;
}

JsonPath JsonObject::pathOf(const std::string& key) const {
  JsonPath path = path_;
  path.push_back(key);
  return path;
}

void JsonObject::report(const std::string& key, const std::string& what) {
  problem_.report(pathOf(key), what);
}

void JsonObject::read(const std::string& key, std::string& target) {
  const nlohmann::json* value = find(key);
  if (value == nullptr) {
    return;
  }
  if (!value->is_string()) {
    report(key, "must be a text");
    return;
  }
  target = value->get<std::string>();
}

void JsonObject::read(const std::string& key, std::optional<std::string>& target) {
  const nlohmann::json* value = find(key);
  if (value == nullptr) {
    return;
  }
  if (!value->is_string() && !value->is_null()) {
    report(key, "must be a text or null");
    return;
  }
  target.reset();
  if (value->is_string()) {
    target = value->get<std::string>();
  }
}

void JsonObject::read(const std::string& key, bool& target) {
  const nlohmann::json* value = find(key);
  if (value == nullptr) {
    return;
  }
  if (!value->is_boolean()) {
    report(key, "must be true or false");
    return;
  }
  target = value->get<bool>();
}

bool JsonObject::read(const std::string& key, std::int64_t lowest, std::int64_t highest,
                      std::int64_t& target) {
  const nlohmann::json* value = find(key);
  if (value == nullptr) {
    return false;
  }
  // A number beyond 63 bits is a double or turns negative here, and is refused either way.
  if (!value->is_number_integer() || value->get<std::int64_t>() < lowest ||
      value->get<std::int64_t>() > highest) {
    report(key, "must be a whole number from " + std::to_string(lowest) + " to " +
                    std::to_string(highest));
    return false;
  }
  target = value->get<std::int64_t>();
  return true;
}

void JsonObject::refuseOtherKeys() {
  if (!value_.is_object()) {
    return;
  }
  for (const auto& [key, value] : value_.items()) {
    if (!asked_.contains(key)) {
      report(key, "is not a known key");
    }
  }
}

int lineOfByte(std::string_view text, std::size_t byte) {
  const std::string_view before = text.substr(0, byte);
  return 1 + static_cast<int>(std::count(before.begin(), before.end(), '\n'));
}

int lineOfPath(std::string_view text, const JsonPath& path) {
  JsonScan scan(text);
  for (const auto& step : path) {
    if (!scan.enter(step)) {
      break;
    }
  }
  return lineOfByte(text, scan.lastStep());
}

}  // namespace fillstation
