#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <variant>

#include "ScriptRunner.h"

namespace fillstation {

// A script text taken apart.
struct Script {
  std::string command;
  std::string userName;
  std::string password;
};

// The numbers of the runners' own failures: no exit status (0 to 255).
struct ScriptError {
  static constexpr std::int64_t kCancelled = -128;  // the authentication
  static constexpr std::int64_t kSyntax = -1001;    // the text is not exactly one command
  static constexpr std::int64_t kWrongCredentials = -1002;
  static constexpr std::int64_t kNotAPlayerCommand = -1003;
  static constexpr std::int64_t kNotThePlayer = -1004;
  static constexpr std::int64_t kUnavailable = -1005;
  static constexpr std::int64_t kUnknownUser = -1006;
  static constexpr std::int64_t kNotAdministrator = -1007;
  static constexpr std::int64_t kNeedsMore = -1008;
  static constexpr std::int64_t kNotChecked = -1009;
};

// The outcome of a script that has failed.
inline ScriptOutcome failure(std::int64_t number, std::string message) {
  return {std::nullopt, number, std::move(message)};
}

// Compiles exactly
//   do shell script "…" user name "…" password "…" with administrator privileges
// with single blanks between the words and nothing before or behind. The contents of the strings
// are any bytes but the double quote and the backslash. Any other text gives a failure. Any thread.
std::variant<Script, ScriptOutcome> compileScript(std::string_view source);

// One of the two commands that change a player.
struct PlayerCommand {
  enum Kind {
    wipe,    // dd if=/dev/zero of=NODE bs=4k count=10
    format,  // mkfs.fat -F32 NODE
  };

  Kind kind;
  std::string node;
};

// Recognises exactly the two command lines above, where NODE is "/dev/", one or more letters from a
// to z and then any number of decimal digits, at most 32 characters in all. None for anything else.
// Any thread.
std::optional<PlayerCommand> parsePlayerCommand(std::string_view commandLine);

}  // namespace fillstation
