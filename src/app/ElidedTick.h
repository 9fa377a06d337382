#pragma once

#include <QCheckBox>

namespace fillstation {

// A tick box with a plain text that is cut in the middle when there is no room, with the whole text
// in its tool tip. Main thread; belongs to its window.
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
