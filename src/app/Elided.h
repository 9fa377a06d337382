#pragma once

#include <QCheckBox>
#include <QLabel>

namespace fillstation {

// Widgets with one line of plain text that is cut in the middle when there is no room, with the
// whole text in their tool tip. Main thread; they belong to their window.

class ElidedLabel : public QLabel {
  Q_OBJECT

 public:
  explicit ElidedLabel(QWidget* parent = nullptr);

  void setWholeText(const QString& text);

  // As much of the text as is painted.
  QString shownText() const;

  // Where it is painted: behind the indent, which is at the right in a mirrored window.
  QRect textRect() const;

  QSize minimumSizeHint() const override;

 protected:
  void paintEvent(QPaintEvent* event) override;
};

class ElidedTick : public QCheckBox {
  Q_OBJECT

 public:
  explicit ElidedTick(QWidget* parent = nullptr);

  QString wholeText() const { return wholeText_; }
  void setWholeText(const QString& text);

  // As much of the text as is painted.
  QString shownText() const;

  // Pixels from the edge with the tick to where the text begins.
  int textIndent() const;

  QSize minimumSizeHint() const override;

 protected:
  void paintEvent(QPaintEvent* event) override;

 private:
  QString wholeText_;
};

}  // namespace fillstation
