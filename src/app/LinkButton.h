#pragma once

#include <QList>
#include <QPushButton>
#include <QTextLayout>

#include "TRAttributedString.h"

namespace fillstation {

// A button without a frame that draws its title with the title's own colours and underlines, a
// colour that can't be read on the window's background in a lighter or darker shade. Main thread;
// belongs to its window.
class LinkButton : public QPushButton {
  Q_OBJECT

 public:
  explicit LinkButton(QWidget* parent = nullptr);

  // The title: what was set, else the button's plain text.
  TRAttributedString attributedTitle() const;
  void setAttributedTitle(const TRAttributedString& title);

  QSize sizeHint() const override;

  // The title as it is painted: runs of text with their colour and underline.
  QList<QTextLayout::FormatRange> formats() const;

 protected:
  void paintEvent(QPaintEvent* event) override;

 private:
  TRAttributedString title_;
};

}  // namespace fillstation
