#pragma once

#include <QFocusFrame>

namespace fillstation {

// The line around the control that has the focus, in whichever window: styles don't show it
// everywhere, nor before the first Tab. Main thread; lives in the control's window.
class FocusRing : public QFocusFrame {
 public:
  // From now on, for as long as the owner lives, the focus has a ring.
  static void followFocus(QObject* owner);

 protected:
  void paintEvent(QPaintEvent* event) override;

 private:
  explicit FocusRing(QWidget* around);
};

}  // namespace fillstation
