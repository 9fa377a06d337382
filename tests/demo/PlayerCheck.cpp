#include "PlayerCheck.h"

#include <QCryptographicHash>
#include <QFile>
#include <QMap>
#include <QProcess>
#include <QStandardPaths>
#include <QTemporaryDir>

#include "Url.h"

namespace fillstation::demo {
namespace {

struct ToolResult {
  int status = -1;
  QByteArray out;
};

// Where the program is; file system tools are outside an ordinary user's search path.
QString placeOf(const QString& program) {
  const QString found = QStandardPaths::findExecutable(program);
  return found.isEmpty() ? QStandardPaths::findExecutable(program, {"/usr/sbin", "/sbin"}) : found;
}

ToolResult runTool(const QString& program, const QStringList& arguments) {
  QProcess process;
  QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
  environment.insert("LC_ALL", "C.UTF-8");
  process.setProcessEnvironment(environment);
  process.setStandardInputFile(QProcess::nullDevice());
  process.start(placeOf(program), arguments);
  if (!process.waitForFinished(-1)) {
    return {};
  }
  return {process.exitCode(), process.readAllStandardOutput()};
}

QByteArray digestOf(const QString& path) {
  QFile file(path);
  QCryptographicHash hash(QCryptographicHash::Sha256);
  if (!file.open(QIODevice::ReadOnly) || !hash.addData(&file)) {
    return {};
  }
  return hash.result();
}

// Where each node of the set goes, below the player's root, in list order; folders end in "/".
QStringList destinationsOf(const TRFileList& roots, QMap<QString, QString>& sources) {
  QStringList all;
  for (const auto& root : roots) {
    for (const auto& node : *root->files()) {
      const auto relative = removePercentEscapes(node->destRelativeUrl()->absoluteString());
      const QString text = QString::fromStdString(relative);
      all << text;
      if (!node->isDir()) {
        sources[text] = QString::fromStdString(*node->path());
      }
    }
  }
  return all;
}

QString parentOf(const QString& destination) {
  const QString bare = destination.endsWith('/') ? destination.chopped(1) : destination;
  return bare.left(bare.lastIndexOf('/') + 1);
}

// The entries of each folder, in order, by its destination; the player's root has none.
QMap<QString, QStringList> foldersOf(const QStringList& destinations) {
  QMap<QString, QStringList> folders{{QString(), {}}};
  for (const auto& destination : destinations) {
    folders[parentOf(destination)] << destination;
    if (destination.endsWith('/')) {
      folders[destination];
    }
  }
  return folders;
}

void checkFolders(const QString& image, const QStringList& expected, PlayerCheck& check) {
  QStringList listed;
  const auto listing = runTool("mdir", {"-/", "-b", "-a", "-i", image, "::/"});
  for (const auto& line : QString::fromUtf8(listing.out).split('\n', Qt::SkipEmptyParts)) {
    listed << line.mid(QString("::/").size());
  }
  const auto found = foldersOf(listed);
  const auto wanted = foldersOf(expected);
  for (auto folder = wanted.cbegin(); folder != wanted.cend(); ++folder) {
    if (found.value(folder.key()) != folder.value()) {
      check.faults << QString("folder \"/%1\" holds [%2], not [%3]")
                          .arg(folder.key(), found.value(folder.key()).join(" | "),
                               folder.value().join(" | "));
    }
  }
}

void checkBytes(const QString& image, const QMap<QString, QString>& sources, PlayerCheck& check) {
  const QTemporaryDir copy;
  runTool("mcopy", {"-s", "-n", "-m", "-i", image, "::/", copy.path()});
  for (auto file = sources.cbegin(); file != sources.cend(); ++file) {
    const QByteArray found = digestOf(copy.filePath(file.key()));
    if (!found.isEmpty()) {
      ++check.files;
    }
    if (found.isEmpty() || found != digestOf(file.value())) {
      check.faults
          << QString("\"%1\" %2").arg(file.key(), found.isEmpty() ? "is missing" : "differs");
    }
  }
}

}  // namespace

PlayerCheck checkPlayer(const QString& image, const TRFileList& roots) {
  PlayerCheck check;
  const bool valid = runTool("fsck.fat", {"-n", image}).status == 0;
  const bool fat32 = runTool("minfo", {"-i", image, "::"}).out.contains("FAT32");
  check.fileSystem = valid && fat32 ? "FAT32, valid" : valid ? "not FAT32" : "not a valid FAT";
  if (!valid || !fat32) {
    check.faults << check.fileSystem;
    return check;
  }
  QMap<QString, QString> sources;
  const QStringList expected = destinationsOf(roots, sources);
  checkFolders(image, expected, check);
  checkBytes(image, sources, check);
  return check;
}

int fileCount(const TRFileList& roots) {
  QMap<QString, QString> sources;
  destinationsOf(roots, sources);
  return static_cast<int>(sources.size());
}

}  // namespace fillstation::demo
