#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <variant>

#include "ScriptRunner.h"

namespace fillstation {

// A script text taken apart.
struct Script {
  std::string command;
  std::string userName;
  std::string password;
};

// The outcome of a text that is not exactly one command. The number is our own: no exit status (0
// to 255) and not the number of a cancelled authentication (-128).
inline constexpr std::int64_t kScriptSyntaxErrorNumber = -1001;
inline constexpr std::string_view kScriptSyntaxErrorMessage =
    "The script is not a single command with a user name and a password.";

// Compiles exactly
//   do shell script "…" user name "…" password "…" with administrator privileges
// with single blanks between the words and nothing before or behind. The contents of the strings
// are any bytes but the double quote and the backslash. Any other text gives the outcome above. Any
// thread.
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

// Recognises exactly the two command lines above, where NODE is "/dev/", one or more of a to z and
// then any number of decimal digits, at most 32 characters in all. None for anything else. Any
// thread.
std::optional<PlayerCommand> parsePlayerCommand(std::string_view commandLine);

}  // namespace fillstation
