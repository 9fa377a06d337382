// Texts of udev and the kernel: labels with escapes, numbers, the mount table.

#include <sys/mman.h>
#include <sys/sysmacros.h>
#include <unistd.h>

#include "FileHandle.h"
#include "Input.h"
#include "Udev.h"
#include "Url.h"
#include "VolumeOwner.h"

using namespace fillstation;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string text(fuzz::Input(data, size).rest());
  const auto label = decodeEscapes(text, "\\x", 2, 16);
  fuzz::require(label.size() <= text.size());
  fuzz::require(text.find('\\') != std::string::npos || label == text);
  const auto number = udevNumber(text);
  fuzz::require(!number || !text.empty());
  fuzz::require(!udevNumber(text, 16) || !text.empty());
  const FileHandle table(::memfd_create("mounts", MFD_CLOEXEC));
  fuzz::require(::write(table.get(), text.data(), text.size()) ==
                static_cast<ssize_t>(text.size()));
  const std::string path = "/proc/self/fd/" + std::to_string(table.get());
  for (const auto& place : mountPoints(makedev(8, 16), "", path)) {
    fuzz::require(place.size() <= text.size());
  }
  return 0;
}
