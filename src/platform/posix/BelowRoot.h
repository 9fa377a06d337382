#pragma once

#include <sys/stat.h>

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "FileHandle.h"
#include "KernelCalls.h"

namespace fillstation {

// The names on the way from a volume's root to a file or folder.
using Components = std::vector<std::string>;

// What follows the mount path (without a "/" at its end) in a destination, without the dots at the
// end of a name, which FAT doesn't keep; none when the destination is not below it or holds a zero
// byte or a name of dots alone.
std::optional<Components> componentsBelow(std::string_view mountPath, std::string_view destination);

// The directory of that name below another, opened with these flags besides O_DIRECTORY; no handle
// when there is none on the file system of `root`. Follows no symbolic link.
FileHandle openFolderBelow(int root, int parent, const std::string& name, int flags);

// The file at that path below the root, to be read from the medium: past the page cache where the
// file system can, and then by whole blocks of 4096 bytes into memory aligned to them. No handle
// when there is none.
FileHandle openMediumFileBelow(int root, const Components& path, KernelCalls& calls);

// A regular file with its status. It is looked at before it is opened, so that nothing but a
// regular file ever is: opening a FIFO or a device can wait or act. No handle for anything else.
FileHandle openRegularFile(const std::string& path, struct stat& status);

}  // namespace fillstation
