#pragma once

#include <cstdint>
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

}  // namespace fillstation
