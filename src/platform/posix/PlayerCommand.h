#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace fillstation {

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
