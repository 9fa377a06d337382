#pragma once

#include <string>

namespace fillstation {

// Where the agent program is for the program at that path: beside it, as in a build folder, or else
// where it is installed. Any thread.
std::string agentOf(const std::string& program);

// The path of the running program.
std::string thisProgram();

}  // namespace fillstation
