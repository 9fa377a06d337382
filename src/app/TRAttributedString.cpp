#include "TRAttributedString.h"

#include <QColor>

namespace fillstation {

const QString TRAttributedString::kLink = QStringLiteral("link");
const QString TRAttributedString::kForegroundColor = QStringLiteral("foregroundColor");
const QString TRAttributedString::kUnderlineStyle = QStringLiteral("underlineStyle");

TRAttributedString::TRAttributedString(const QString& text)
    : text_(text), attributes_(static_cast<std::size_t>(text.size())) {}

TRAttributedString TRAttributedString::hyperlinkFromString(const QString& text,
                                                           const Url& address) {
  TRAttributedString link(text);
  link.addAttribute(kLink, QString::fromStdString(address.absoluteString()), 0, link.length());
  link.addAttribute(kForegroundColor, QColor(Qt::blue), 0, link.length());
  link.addAttribute(kUnderlineStyle, kUnderlineSingle, 0, link.length());
  return link;
}

void TRAttributedString::addAttribute(const QString& name, const QVariant& value, qsizetype from,
                                      qsizetype count) {
  for (qsizetype at = from; at < from + count; ++at) {
    attributes_.at(static_cast<std::size_t>(at)).insert(name, value);
  }
}

const TRAttributedString::Attributes& TRAttributedString::attributesAt(qsizetype position) const {
  return attributes_.at(static_cast<std::size_t>(position));
}

}  // namespace fillstation
