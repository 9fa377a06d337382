#pragma once

#include <string_view>

namespace fillstation {

// The system log. Any thread; texts of one thread stay in order.
class SystemLog {
 public:
  virtual ~SystemLog() = default;

  // Records one text exactly as given, with its line feeds.
  virtual void write(std::string_view text) = 0;
};

}  // namespace fillstation
