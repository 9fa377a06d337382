#pragma once

#include <string>
#include <vector>

namespace fillstation {

// Where the parts of the system are that the program needs and that a machine may lack.
struct SystemParts {
  std::string udev = "/run/udev/control";  // there while udev runs
  std::string pkexec = "/usr/bin/pkexec";
  std::string agent;  // our own program, see agentOf()
};

// What can't be done for want of a part: a line each for the log. Any thread.
std::vector<std::string> missingParts(const SystemParts& parts);

}  // namespace fillstation
