#pragma once

#include <string>
#include <vector>

namespace fillstation::faults {

inline std::string joined(const std::vector<std::string>& texts) {
  std::string all;
  for (const auto& text : texts) {
    all += (all.empty() ? "" : ", ") + text;
  }
  return all;
}

// What stands between two texts, empty when the text isn't made so.
inline std::string between(const std::string& text, const std::string& before,
                           const std::string& behind) {
  if (!text.starts_with(before) || !text.ends_with(behind) ||
      text.size() < before.size() + behind.size()) {
    return {};
  }
  return text.substr(before.size(), text.size() - before.size() - behind.size());
}

}  // namespace fillstation::faults
