#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace fillstation {

// The text of a value as it stands in a formatted text. Absent texts and null C strings read
// "(null)".
inline std::string textOf(const char* text) { return text != nullptr ? text : "(null)"; }
inline std::string textOf(const std::string& text) { return text; }
inline std::string textOf(const std::optional<std::string>& text) {
  return text ? *text : "(null)";
}

namespace detail {

inline void appendFormatted(std::string& out, std::string_view pattern) { out += pattern; }

template <class First, class... Rest>
void appendFormatted(std::string& out, std::string_view pattern, const First& first,
                     const Rest&... rest) {
  for (std::size_t at = 0; at + 1 < pattern.size(); ++at) {
    if (pattern[at] == '%' && (pattern[at + 1] == '@' || pattern[at + 1] == 's')) {
      out += pattern.substr(0, at);
      out += textOf(first);
      appendFormatted(out, pattern.substr(at + 2), rest...);
      return;
    }
  }
  out += pattern;
}

}  // namespace detail

// The pattern with each "%@" and "%s" replaced, in order, by textOf() of the values. An inserted
// text is never searched for placeholders. Values left over are ignored, placeholders left over
// stay.
template <class... Values>
std::string formatText(std::string_view pattern, const Values&... values) {
  std::string out;
  detail::appendFormatted(out, pattern, values...);
  return out;
}

}  // namespace fillstation
