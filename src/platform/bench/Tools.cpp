#include "Tools.h"

#include <variant>

#include "ChildProcess.h"

namespace fillstation {

namespace {

// The word as a shell takes it back.
std::string shellQuoted(const std::string& word) {
  std::string quoted = "'";
  for (const char letter : word) {
    quoted += letter == '\'' ? std::string("'\\''") : std::string(1, letter);
  }
  return quoted + "'";
}

}  // namespace

std::optional<std::string> runTool(const std::vector<std::string>& words, int image) {
  std::string line =
      "exec env -i PATH=/usr/sbin:/usr/bin:/sbin:/bin LC_ALL=C.UTF-8 MTOOLSRC=/dev/null";
  for (const auto& word : words) {
    line += " " + shellQuoted(word);
  }
  const auto ended = ShellCommand::run(line, {{image, 3}});
  if (const auto* notStarted = std::get_if<ShellCommand::NotStarted>(&ended)) {
    return notStarted->reason;
  }
  const auto& result = std::get<ShellCommand::Result>(ended);
  if (result.succeeded()) {
    return std::nullopt;
  }
  return words.front() + ": " + result.err;
}

}  // namespace fillstation
