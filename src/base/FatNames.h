#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace fillstation {

// What the kernel's FAT32 with long names makes of names, which are bytes. Any thread.

// The most bytes of a file, and the most slots of a directory: of its 65,536 the kernel refuses the
// last one. (With clusters of 512 bytes a directory may take a few more.)
inline constexpr std::int64_t kFatLargestFile = 0xFFFFFFFF;
inline constexpr std::int64_t kFatMostSlots = 65535;

// What it calls a name: without the dots at its end.
std::string_view fatName(std::string_view name);

// 0 for a name that it can hold, or the errno of its creation.
int fatNameError(std::string_view name);

// Two names are one where these are equal: the case of ASCII letters doesn't count, and in a name
// of at most 8 and 3 characters not that of other letters of code page 437 either.
std::string fatFolded(std::string_view name);

// The slots that a name takes in its directory; it can be held.
std::int64_t fatSlots(std::string_view name);

}  // namespace fillstation
