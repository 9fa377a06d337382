#pragma once

#include <QMap>
#include <QString>
#include <QVariant>
#include <vector>

#include "Url.h"

namespace fillstation {

// A text with attributes over ranges of it. A plain value; any thread may use a copy that it owns.
class TRAttributedString {
 public:
  using Attributes = QMap<QString, QVariant>;

  // Attribute names: an address text, a QColor, and the number of underlines (1: a single line).
  static const QString kLink;
  static const QString kForegroundColor;
  static const QString kUnderlineStyle;
  static constexpr int kUnderlineSingle = 1;

  TRAttributedString() = default;
  explicit TRAttributedString(const QString& text);

  // The text dressed as a link to the address: link target, blue, underlined, over its whole
  // length. An empty text stays empty.
  static TRAttributedString hyperlinkFromString(const QString& text, const Url& address);

  const QString& text() const { return text_; }
  qsizetype length() const { return text_.size(); }

  // Gives the characters from `from`, `count` of them, the attribute; one that they have by that
  // name is replaced, others stay. The range must lie within the text.
  void addAttribute(const QString& name, const QVariant& value, qsizetype from, qsizetype count);

  // The attributes of the character at the position, which must lie within the text.
  const Attributes& attributesAt(qsizetype position) const;

  bool operator==(const TRAttributedString&) const = default;

 private:
  QString text_;
  std::vector<Attributes> attributes_;  // one per character: titles are short
};

}  // namespace fillstation
