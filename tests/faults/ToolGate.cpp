#include "ToolGate.h"

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <iterator>

namespace fillstation::faults {

namespace {

std::string searchPath() {
  const char* const path = std::getenv("PATH");
  return path != nullptr ? path : "/usr/bin:/bin";
}

}  // namespace

ToolGate::ToolGate(const std::string& tool) : pathBefore_(searchPath()) {
  folder_.makeFolder("calls");
  const std::string script =
      folder_.write("bin/" + tool,
                    "#!/bin/sh\n"
                    ": >'" +
                        folder_.path("calls") +
                        "'/$$\n"
                        "while [ ! -e '" +
                        folder_.path("open") +
                        "' ]; do sleep 0.01; done\n"
                        "PATH='" +
                        pathBefore_ + ":/usr/sbin:/sbin' exec " + tool + " \"$@\"\n");
  std::filesystem::permissions(script, std::filesystem::perms::owner_all);
  ::setenv("PATH", (folder_.path("bin") + ":" + pathBefore_).c_str(), 1);
}

ToolGate::~ToolGate() {
  open();
  ::setenv("PATH", pathBefore_.c_str(), 1);
}

std::size_t ToolGate::calls() const {
  const auto begin = std::filesystem::directory_iterator(folder_.path("calls"));
  return static_cast<std::size_t>(std::distance(begin, std::filesystem::directory_iterator()));
}

void ToolGate::open() const { folder_.write("open", ""); }

}  // namespace fillstation::faults
