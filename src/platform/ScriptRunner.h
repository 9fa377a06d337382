#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "DiskSession.h"

namespace fillstation {

// The outcome of a script: a result text if its command succeeded; otherwise none, and the number
// and message of the failure, which may be absent.
struct ScriptOutcome {
  std::optional<std::string> result;
  std::optional<std::int64_t> errorNumber;  // -128: the user cancelled the authentication
  std::optional<std::string> errorMessage;
};

// Runs a one-line script text: a shell command line with administrator privileges, authenticated at
// each call by the name and password in the text. Any thread, several at once; blocks until the
// command has finished, without a time-out.
class ScriptRunner {
 public:
  virtual ~ScriptRunner() = default;

  // Compiles the source and runs it. Runs nothing if the source is not exactly one command, if the
  // authentication fails, or if the command's disk is not `target` (any more).
  virtual ScriptOutcome run(std::string_view source, const DiskIdentity& target) = 0;
};

}  // namespace fillstation
