#include "DisplayText.h"

namespace fillstation {
namespace {

constexpr char16_t kReplacement = 0xFFFD;
constexpr char16_t kControlPictures = 0x2400;
constexpr char16_t kDeletePicture = 0x2421;

bool turnsDirection(char16_t unit) {
  return unit == 0x061C || unit == 0x200E || unit == 0x200F || (unit >= 0x202A && unit <= 0x202E) ||
         (unit >= 0x2066 && unit <= 0x2069);
}

bool breaksLine(char16_t unit) { return unit == 0x2028 || unit == 0x2029; }

char16_t visible(char16_t unit) {
  if (unit < 0x20) {
    return static_cast<char16_t>(kControlPictures + unit);
  }
  if (unit == 0x7F) {
    return kDeletePicture;
  }
  const bool isControl = unit >= 0x80 && unit < 0xA0;
  return isControl || turnsDirection(unit) || breaksLine(unit) ? kReplacement : unit;
}

}  // namespace

QString displayText(std::string_view bytes) {
  QString text = QString::fromUtf8(bytes.data(), static_cast<qsizetype>(bytes.size()));
  for (QChar& unit : text) {
    unit = QChar(visible(unit.unicode()));
  }
  return text;
}

QString displayText(const std::optional<std::string>& bytes) {
  return bytes ? displayText(std::string_view(*bytes)) : QString();
}

QString withoutMnemonics(QString text) {
  return text.replace(QLatin1Char('&'), QLatin1String("&&"));
}

QString toolTipText(const QString& text) {
  return QLatin1String("<p style='white-space:pre-wrap'>") + text.toHtmlEscaped() +
         QLatin1String("</p>");
}

}  // namespace fillstation
