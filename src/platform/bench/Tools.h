#pragma once

#include <optional>
#include <string>
#include <vector>

namespace fillstation {

// How a tool that is run by runTool() names the image.
inline constexpr const char* kHandedImage = "/proc/self/fd/3";

// Runs a tool of the system, found in the system's own folders, on an image: with nothing of our
// environment, texts in UTF-8, no standard input. None when it succeeded, or what it said. Any
// thread; the words together have at most 100,000 bytes.
std::optional<std::string> runTool(const std::vector<std::string>& words, int image);

}  // namespace fillstation
