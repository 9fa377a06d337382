#pragma once

#include <vector>

#include "FileManager.h"

namespace fillstation::test {

// The list, which outlives the result, as a volume takes it.
inline CopiedItems itemsOf(const std::vector<CopiedItem>& list) {
  return [&list](const auto& visitor) {
    for (auto item = list.begin(); item != list.end() && visitor(*item);) {
      ++item;
    }
  };
}

}  // namespace fillstation::test
