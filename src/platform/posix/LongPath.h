#pragma once

#include <sys/stat.h>

#include <optional>
#include <string>

#include "FileHandle.h"

namespace fillstation {

// Opens an absolute or relative path of any length, piece by piece where the kernel's limit of a
// path (4096 bytes) is exceeded. Flags as of open(2), close-on-exec is added; creates nothing. No
// handle when it can't be opened.
FileHandle openLongPath(const std::string& path, int flags);

// The status of what is at a path of any length, symbolic links followed; none when it can't be
// read.
std::optional<struct stat> statLongPath(const std::string& path);

}  // namespace fillstation
