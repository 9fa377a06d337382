#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "DiskSession.h"

namespace fillstation {

// What a script gave: a result text when it ran and its command succeeded; otherwise none, and what
// the runner has to say of the failure, each or both absent.
struct ScriptOutcome {
  std::optional<std::string> result;
  std::optional<std::int64_t> errorNumber;  // -128: the user cancelled the authentication
  std::optional<std::string> errorMessage;
};

// Runs a one-line script text: a shell command line with administrator privileges, authenticated
// anew at each call by the name and password that the text holds. Any thread, several at once;
// blocks until the command has finished, without a time-out.
class ScriptRunner {
 public:
  virtual ~ScriptRunner() = default;

  // Compiles the source and runs it. Nothing is executed when the source is not exactly one
  // command, when authentication fails, or when the disk that the command names is not `target`
  // (any more).
  virtual ScriptOutcome run(std::string_view source, const DiskIdentity& target) = 0;
};

}  // namespace fillstation
