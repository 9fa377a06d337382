#pragma once

#include <QPushButton>
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

// A button without a frame that draws its title with the title's own colour and underline, a colour
// that can't be read on the window's background in a lighter or darker shade. Main thread; belongs
// to its window.
class LinkButton : public QPushButton {
  Q_OBJECT

 public:
  explicit LinkButton(QWidget* parent = nullptr);

  TRAttributedString attributedTitle() const { return {text(), attributes_}; }
  void setAttributedTitle(const TRAttributedString& title);

  QSize sizeHint() const override;

  // The title's colour and underline as they are painted.
  QTextCharFormat paintedFormat() const;

 protected:
  void paintEvent(QPaintEvent* event) override;

 private:
  QTextCharFormat attributes_;
};

}  // namespace fillstation
