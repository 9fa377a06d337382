#pragma once

#include <QTimer>
#include <QWidget>

namespace fillstation {

// A ring of dots with a bright dot that moves round while the program is busy. In a minimised
// window it stands still. A hidden indicator keeps its place in the layout. Screen readers are told
// whether it is busy. Main thread; belongs to its window.
class BusyIndicator : public QWidget {
  Q_OBJECT

 public:
  explicit BusyIndicator(QWidget* parent = nullptr);

  void startAnimation() { turn(true); }
  void stopAnimation() { turn(false); }
  bool isAnimating() const { return animating_; }

  // Whether it shows (at rest) while it is stopped; true at first.
  bool isDisplayedWhenStopped() const { return displayedWhenStopped_; }
  void setDisplayedWhenStopped(bool displayed);

  // Number of the bright dot, counted clockwise from the top.
  int step() const { return step_; }

  QSize sizeHint() const override;

 protected:
  void paintEvent(QPaintEvent* event) override;
  void showEvent(QShowEvent* event) override;
  void hideEvent(QHideEvent* event) override;

 private:
  void turn(bool animating);

  QTimer timer_;
  int step_ = 0;
  bool animating_ = false;
  bool displayedWhenStopped_ = true;
};

}  // namespace fillstation
