#pragma once

#include <QByteArray>
#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include "BelowRoot.h"

namespace fillstation {

// One file or folder that a filled player holds. A plain value.
struct SetEntry {
  std::string source;  // absolute path
  std::string name;    // path below the volume's root
  bool isDirectory = false;
  std::int64_t size = 0;  // bytes
  QByteArray hash;        // of a file's content; empty until hashSources()
};
using FileSet = std::vector<SetEntry>;

// Told of the bytes that were read.
using OnBytes = std::function<void(std::int64_t)>;

// What the window puts onto a player from these folders, in its order. Throws std::runtime_error,
// with a text for the user, when a folder can't be read, no file is of the type, or two folders
// hold a file of the same name, which no player can then hold both. Main thread.
FileSet fileSetOf(const std::vector<std::string>& folders, const std::string& fileType);

// Throws as above when a file can't be read.
void hashSources(FileSet& set, const OnBytes& onBytes);

// SHA-256 of a file of that size, empty when it can't be read. Any thread.
QByteArray contentHash(int file, std::int64_t size, const OnBytes& onBytes);

}  // namespace fillstation
