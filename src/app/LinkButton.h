#pragma once

#include <QPainter>
#include <QPushButton>
#include <QStyle>
#include <QStyleOptionFocusRect>
#include <QTextCharFormat>
#include <QTextLayout>

#include "Url.h"
#include "WindowStyle.h"

namespace fillstation {

// A text and the attributes that it has over its whole length. A plain value; any thread may use a
// copy that it owns.
struct TRAttributedString {
  QString text;
  QTextCharFormat attributes;

  // The text formatted as a link to the address: link target, blue, single underline. An empty text
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

// A flat button whose title has a colour and underline of its own. A colour that can't be read on
// the window's background is drawn lighter or darker. Main thread; belongs to its window.
class LinkButton : public QPushButton {
  Q_OBJECT

 public:
  explicit LinkButton(QWidget* parent = nullptr) : QPushButton(parent) {
    setCursor(Qt::PointingHandCursor);
    setFlat(true);
    // After a click, Space still works the control that had the focus.
    setFocusPolicy(Qt::TabFocus);
  }

  TRAttributedString attributedTitle() const { return {text(), attributes_}; }
  void setAttributedTitle(const TRAttributedString& title) {
    attributes_ = title.attributes;
    setText(title.text);
    update();
  }

  QSize sizeHint() const override {
    const QFontMetrics metrics(font());
    return {metrics.horizontalAdvance(text()) + 2 * kMargin, metrics.height() + 2 * kMargin};
  }

  // The title's colour and underline as they are painted.
  QTextCharFormat paintedFormat() const {
    QTextCharFormat format;
    format.setFontUnderline(attributes_.fontUnderline());
    format.setForeground(
        attributes_.hasProperty(QTextFormat::ForegroundBrush)
            ? readable(attributes_.foreground().color(), palette().color(QPalette::Window))
            : palette().color(QPalette::ButtonText));
    return format;
  }

 protected:
  void paintEvent(QPaintEvent* /*event*/) override {
    QPainter painter(this);
    QTextLayout layout(text(), font());
    layout.setFormats({{0, static_cast<int>(text().size()), paintedFormat()}});
    layout.beginLayout();
    layout.createLine();
    layout.endLayout();
    layout.draw(&painter, QPointF(kMargin, (height() - layout.boundingRect().height()) / 2));
    if (hasFocus()) {
      QStyleOptionFocusRect option;
      option.initFrom(this);
      style()->drawPrimitive(QStyle::PE_FrameFocusRect, &option, &painter, this);
    }
  }

 private:
  static constexpr int kMargin = 4;

  QTextCharFormat attributes_;
};

}  // namespace fillstation
