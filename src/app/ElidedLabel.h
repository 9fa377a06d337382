#pragma once

#include <QLabel>

namespace fillstation {

// A label of one line of plain text that is cut in the middle when there is no room, with the whole
// text in its tool tip. Main thread; belongs to its window.
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

}  // namespace fillstation
