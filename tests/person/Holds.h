#pragma once

#include <functional>
#include <memory>
#include <string>

#include "Platform.h"

namespace fillstation::test {

// The ports of a back end, which at one step of a run stay for good, as a device that never answers
// would have them stay: "authentication", "unmount", "mount", "copy" (of the second file) or
// "flush". Commands are held outside, by what stands in for the tools. Any thread; lives as long as
// the program.
class Holds {
 public:
  // The step, none if it is empty; `tell` is called when it is reached.
  Holds(std::string step, std::function<void(const std::string&)> tell);

  // Puts itself before the ports that are installed.
  void installInto(Platform& installed);

  // Tells and answers true when this is the step.
  bool is(const char* step) const;
  // Doesn't return when this is the step.
  void at(const char* step) const;

 private:
  const std::string step_;
  const std::function<void(const std::string&)> tell_;
  std::unique_ptr<ScriptRunner> scriptRunner_;
  std::unique_ptr<FileManager> fileManager_;
};

}  // namespace fillstation::test
