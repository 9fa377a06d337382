#pragma once

#include <QFile>
#include <QFileInfo>
#include <QString>

#include "Url.h"

namespace fillstation {

// The address of what a person has chosen or dropped, by its path on this machine; a symbolic link
// to a folder is a folder. Any thread.
inline Url urlOfPath(const QString& path) {
  return Url::fromPath(QFile::encodeName(path).toStdString(), QFileInfo(path).isDir());
}

}  // namespace fillstation
