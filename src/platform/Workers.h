#pragma once

#include <functional>

namespace fillstation {

// The program's background threads and the token that ends them. Any thread; lives as long as the
// program.
class Workers {
 public:
  virtual ~Workers() = default;

  // Runs the body on a new thread and returns at once.
  virtual void spawn(std::function<void()> body) = 0;

  // True once the program is ending: no new command, directory or file is begun then.
  virtual bool stopping() const = 0;
};

}  // namespace fillstation
