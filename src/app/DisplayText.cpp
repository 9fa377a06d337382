#include "DisplayText.h"

#include <QCoreApplication>
#include <QFile>
#include <QFileInfo>

namespace fillstation {
namespace {

constexpr char16_t kReplacement = 0xFFFD;
constexpr char16_t kFirstStrongIsolate = 0x2068;
constexpr char16_t kEndOfIsolate = 0x2069;
// Characters of a tool tip, after which it breaks at the next "/", or wherever it is.
constexpr int kLongLine = 40;
constexpr int kLongestLine = 60;
constexpr std::int64_t kKilobyte = 1024;
constexpr std::int64_t kMegabyte = kKilobyte * kKilobyte;

bool isControl(char16_t unit) { return unit < 0x20 || (unit >= 0x7F && unit < 0xA0); }

// The separators of lines are the two before the marks that turn the direction.
bool breaksLineOrTurns(char16_t unit) {
  return unit == 0x061C || unit == 0x200E || unit == 0x200F || (unit >= 0x2028 && unit <= 0x202E) ||
         (unit >= 0x2066 && unit <= 0x2069);
}

QString inLines(const QString& text) {
  QString lines;
  int length = 0;
  for (const QChar unit : text) {
    if (length >= kLongestLine && !unit.isLowSurrogate()) {
      lines += QLatin1Char('\n');
      length = 0;
    }
    lines += unit;
    length = unit == QLatin1Char('\n') ? 0 : length + 1;
    if (unit == QLatin1Char('/') && length >= kLongLine) {
      lines += QLatin1Char('\n');
      length = 0;
    }
  }
  return lines;
}

// Whole megabytes, or that many kilobytes when there are none.
template <class Kilobytes>
QString sizeText(std::int64_t bytes, Kilobytes kilobytes) {
  // The bits of a negative figure are taken as unsigned.
  const auto megabytes = static_cast<std::uint64_t>(
      static_cast<std::int64_t>(static_cast<double>(bytes) / static_cast<double>(kMegabyte)));
  return megabytes != 0 ? QStringLiteral("%1 MB").arg(megabytes)
                        : QStringLiteral("%1 KB").arg(kilobytes);
}

}  // namespace

QString displayText(std::string_view bytes) {
  QString text = QString::fromUtf8(bytes.data(), static_cast<qsizetype>(bytes.size()));
  for (QChar& unit : text) {
    const char16_t code = unit.unicode();
    if (isControl(code) || breaksLineOrTurns(code)) {
      unit = QChar(kReplacement);
    }
  }
  return text;
}

QString displayText(const std::optional<std::string>& bytes) {
  return bytes ? displayText(std::string_view(*bytes)) : QString();
}

QString withoutMnemonics(QString text) {
  return text.replace(QLatin1Char('&'), QLatin1String("&&"));
}

QString isolated(const QString& text) {
  return QChar(kFirstStrongIsolate) + text + QChar(kEndOfIsolate);
}

QString toolTipText(const QString& text) {
  return QLatin1String("<p style='white-space:pre'>") + inLines(text).toHtmlEscaped();
}

QString capacityText(std::int64_t bytes) { return sizeText(bytes, bytes / kKilobyte); }

QString spaceLeftText(std::int64_t capacity, std::int64_t used) {
  const auto bytes = static_cast<std::int64_t>(static_cast<std::uint64_t>(capacity) -
                                               static_cast<std::uint64_t>(used));
  return sizeText(bytes, static_cast<std::uint64_t>(bytes / kKilobyte));
}

QString fileSizeText(std::int64_t bytes) {
  if (bytes < kKilobyte) {
    const int count = static_cast<int>(bytes);
    return QCoreApplication::translate("fillstation::FileTable", "%n bytes", nullptr, count);
  }
  if (bytes < kMegabyte || bytes >= 10 * kMegabyte) {
    return capacityText(bytes);
  }
  const std::int64_t tenths = bytes % kMegabyte * 10 / kMegabyte;
  return QCoreApplication::translate("fillstation::FileTable", "%1.%2 MB")
      .arg(bytes / kMegabyte)
      .arg(tenths);
}

Url urlOfPath(const QString& path) {
  return Url::fromPath(QFile::encodeName(path).toStdString(), QFileInfo(path).isDir());
}

}  // namespace fillstation
