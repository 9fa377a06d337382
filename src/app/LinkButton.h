#pragma once

#include <QPushButton>

#include "TRAttributedString.h"

namespace fillstation {

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
