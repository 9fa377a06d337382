#pragma once

#include <cstring>
#include <optional>
#include <string>
#include <string_view>

namespace fillstation {

// The text of a value in a formatted text. Absent texts and null C strings give "(null)".
inline std::string textOf(const char* text) { return text != nullptr ? text : "(null)"; }
inline std::string textOf(const std::string& text) { return text; }
inline std::string textOf(const std::optional<std::string>& text) {
  return text ? *text : "(null)";
}

// The pattern with each "%@" and "%s" replaced, in order, by textOf() of the values. Inserted texts
// are not searched for placeholders. Extra values are ignored, extra placeholders remain.
template <class... Values>
std::string formatText(std::string_view pattern, const Values&... values) {
  std::string out;
  [[maybe_unused]] const auto insert = [&](const std::string& text) {
    for (std::size_t at = 0; at + 1 < pattern.size(); ++at) {
      if (pattern[at] == '%' && (pattern[at + 1] == '@' || pattern[at + 1] == 's')) {
        out.append(pattern.substr(0, at)).append(text);
        pattern.remove_prefix(at + 2);
        return;
      }
    }
  };
  (insert(textOf(values)), ...);
  return out.append(pattern);
}

// The text with each occurrence of `from`, which isn't empty, replaced by `to`.
inline std::string replaced(std::string text, std::string_view from, std::string_view to) {
  for (std::size_t at = text.find(from); at != std::string::npos;
       at = text.find(from, at + to.size())) {
    text.replace(at, from.size(), to);
  }
  return text;
}

// Overwrites the text in memory, in a way that the compiler can't optimise away, and empties it.
inline void wipeText(std::string& text) {
  ::explicit_bzero(text.data(), text.size());
  text.clear();
}

}  // namespace fillstation
