#pragma once

#include <span>
#include <string>
#include <string_view>

namespace fillstation {

// The system log. Any thread; texts of one thread stay in order.
class SystemLog {
 public:
  virtual ~SystemLog() = default;

  // Records one text exactly as given, with its line feeds.
  virtual void write(std::string_view text) = 0;

  // Records several texts in their order, each as write() does.
  virtual void writeEach(std::span<const std::string> texts) {
    for (const auto& text : texts) {
      write(text);
    }
  }
};

}  // namespace fillstation
