#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "FileManager.h"

namespace fillstation::test {

// What was put onto a volume, as a test says.
struct TestItem : CopiedItem {
  bool isDirectory() const override { return folder; }
  std::int64_t size() const override { return bytes; }
  std::string source() const override { return from; }
  std::string destination() const override { return to; }

  bool folder = false;
  std::int64_t bytes = 0;
  std::string from;
  std::string to;
};

// The list, which outlives the result, as a volume takes it.
inline CopiedItems itemsOf(const std::vector<TestItem>& list) {
  return [&list](const auto& visitor) {
    for (auto item = list.begin(); item != list.end() && visitor(*item);) {
      ++item;
    }
  };
}

}  // namespace fillstation::test
