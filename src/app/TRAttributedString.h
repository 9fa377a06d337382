#pragma once

#include <QString>
#include <QTextCharFormat>

#include "Url.h"

namespace fillstation {

// A text and the attributes that it has over its whole length. A plain value; any thread may use a
// copy that it owns.
struct TRAttributedString {
  QString text;
  QTextCharFormat attributes;

  // The text dressed as a link to the address: link target, blue, a single underline. An empty text
  // stays empty.
  static TRAttributedString hyperlinkFromString(const QString& text, const Url& address) {
    TRAttributedString link{text, {}};
    link.attributes.setAnchorHref(QString::fromStdString(address.absoluteString()));
    link.attributes.setForeground(QColor(Qt::blue));
    link.attributes.setFontUnderline(true);
    return link;
  }

  bool operator==(const TRAttributedString&) const = default;
};

}  // namespace fillstation
