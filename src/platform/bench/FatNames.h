#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace fillstation {

// What the file system calls a name: without the dots at its end.
std::string_view fatName(std::string_view name);

// 0 for a name that a FAT file system can hold, or the errno of its creation.
int fatNameError(std::string_view name);

// Names that are equal after this are the same name: letters of ASCII count alike in both cases.
std::string foldedFatName(std::string_view name);

// Directory slots that a name needs at most: a long name's, 13 units each, and the short one.
std::int64_t fatSlots(std::string_view name);

}  // namespace fillstation
