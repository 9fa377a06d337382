#include "Console.h"

#include <unistd.h>

#include <QDir>

namespace fillstation::demo {
namespace {

std::FILE* person = stdout;

void sendTo(std::FILE* stream, const QString& file) {
  if (std::freopen(file.toLocal8Bit().constData(), "w", stream) == nullptr) {
    std::fprintf(person, "%s can't be written\n", qUtf8Printable(file));
  }
}

}  // namespace

std::FILE* console() { return person; }

void useConsole(const QString& logFolder) {
  QDir().mkpath(logFolder);
  person = ::fdopen(::dup(STDOUT_FILENO), "w");
  sendTo(stdout, logFolder + "/stdout.log");
  sendTo(stderr, logFolder + "/stderr.log");
}

}  // namespace fillstation::demo
