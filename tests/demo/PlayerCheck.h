#pragma once

#include <QString>
#include <QStringList>

#include "TRFile.h"

namespace fillstation::demo {

// The result of reading one player's image with independent tools.
struct PlayerCheck {
  QString fileSystem;  // from mdir and fsck.fat: "FAT32", or the problem
  int files = 0;       // files found on the player
  QStringList faults;  // empty when the player holds exactly the file set, in order, byte for byte

  bool complete() const { return faults.isEmpty(); }
};

// Reads an image back with fsck.fat and mtools and compares it with the file set: the file system
// is valid FAT32, every folder holds the same entries in the same order, every file has the
// source's SHA-256.
PlayerCheck checkPlayer(const QString& image, const TRFileList& roots);

// Number of files (not folders) in the roots.
int fileCount(const TRFileList& roots);

}  // namespace fillstation::demo
