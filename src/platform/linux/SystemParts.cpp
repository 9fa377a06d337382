#include "SystemParts.h"

#include <unistd.h>

#include "Format.h"

namespace fillstation {

std::vector<std::string> missingParts(const SystemParts& parts) {
  std::vector<std::string> lines;
  if (::access(parts.udev.c_str(), F_OK) != 0) {
    lines.push_back("udev isn't running: no player will be seen.\n");
  }
  for (const auto& program : {parts.pkexec, parts.agent}) {
    if (::access(program.c_str(), X_OK) != 0) {
      lines.push_back(formatText("%@ is missing: no player can be formatted.\n", program));
    }
  }
  return lines;
}

}  // namespace fillstation
