#pragma once

#include <string>
#include <string_view>

#include "PlayerCommand.h"
#include "PlayerGuard.h"

namespace fillstation {

// The exit status of a guard that has refused; its standard error says why. None of the two
// commands ends with it.
inline constexpr int kGuardRefusal = 77;

// The guard as a script for the system's shell, needing nothing but its commands and variables.
std::string_view guardScript();

// The script that checks the disk, runs the command on the very disk that it checked, and looks
// after it; its exit status is the command's own or kGuardRefusal. The node of the command is the
// guard's. Any thread.
std::string guardedCommand(const PlayerCommand& command, const PlayerGuard& guard,
                           std::string_view script = guardScript());

}  // namespace fillstation
