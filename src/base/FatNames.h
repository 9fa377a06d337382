#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace fillstation {

// How the kernel's FAT32 with long names treats names, which are bytes. Any thread.

// The most bytes in a file, and the most slots in a directory: the kernel refuses the last of the
// 65,536. (With clusters of 512 bytes a directory may take a few more.)
inline constexpr std::int64_t kFatLargestFile = 0xFFFFFFFF;
inline constexpr std::int64_t kFatMostSlots = 65535;

// The name as FAT stores it: without dots at its end.
std::string_view fatName(std::string_view name);

// 0 if FAT can store the name, otherwise the errno of creating it.
int fatNameError(std::string_view name);

// The key by which names are compared: two names with the same key are the same file. The case of
// ASCII letters is ignored; in a name of at most 8 and 3 characters also that of the other letters
// of code page 437.
std::string fatFolded(std::string_view name);

// The number of slots that a valid name takes in its directory.
std::int64_t fatSlots(std::string_view name);

}  // namespace fillstation
