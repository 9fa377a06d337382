#include "AgentPath.h"

#include <unistd.h>

#include <filesystem>

namespace fillstation {

namespace {

constexpr const char* kAgent = "fillstation-agent";

}  // namespace

std::string agentOf(const std::string& program) {
  const auto folder = std::filesystem::path(program).parent_path();
  const auto beside = folder / kAgent;
  if (::access(beside.c_str(), X_OK) == 0) {
    return beside;
  }
  return (folder / FILLSTATION_FROM_BIN_TO_LIBEXEC / kAgent).lexically_normal();
}

std::string thisProgram() { return std::filesystem::read_symlink("/proc/self/exe"); }

}  // namespace fillstation
