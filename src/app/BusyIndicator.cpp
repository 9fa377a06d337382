#include "BusyIndicator.h"

#include <QAccessibleWidget>
#include <QPainter>
#include <algorithm>
#include <cmath>
#include <numbers>

namespace fillstation {
namespace {

constexpr int kDots = 8;
constexpr int kMillisecondsPerStep = 120;
constexpr int kSide = 24;

// How screen readers see an indicator.
class Spoken : public QAccessibleWidget {
 public:
  explicit Spoken(BusyIndicator* indicator)
      : QAccessibleWidget(indicator, QAccessible::Animation), indicator_(indicator) {}

  QAccessible::State state() const override {
    QAccessible::State state = QAccessibleWidget::state();
    state.busy = indicator_->isAnimating();
    return state;
  }

 private:
  const BusyIndicator* indicator_;
};

QAccessibleInterface* spokenOf(const QString& /*className*/, QObject* object) {
  auto* const indicator = qobject_cast<BusyIndicator*>(object);
  return indicator != nullptr ? new Spoken(indicator) : nullptr;
}

}  // namespace

BusyIndicator::BusyIndicator(QWidget* parent) : QWidget(parent) {
  QAccessible::installFactory(spokenOf);  // once, however often it is asked to
  QSizePolicy policy(QSizePolicy::Fixed, QSizePolicy::Fixed);
  policy.setRetainSizeWhenHidden(true);
  setSizePolicy(policy);
  timer_.setInterval(kMillisecondsPerStep);
  connect(&timer_, &QTimer::timeout, this, [this] {
    step_ = (step_ + 1) % kDots;
    update();
  });
}

void BusyIndicator::turn(bool animating) {
  animating_ = animating;
  setVisible(animating_ || displayedWhenStopped_);
  if (animating_ && isVisible() && !window()->isMinimized()) {
    timer_.start();
  } else {
    timer_.stop();
  }
}

void BusyIndicator::setDisplayedWhenStopped(bool displayed) {
  displayedWhenStopped_ = displayed;
  setVisible(animating_ || displayedWhenStopped_);
}

QSize BusyIndicator::sizeHint() const { return {kSide, kSide}; }

void BusyIndicator::showEvent(QShowEvent* /*event*/) {
  if (animating_) {
    timer_.start();
  }
}

// Also sent when the window goes to the task bar, where isVisible() stays true.
void BusyIndicator::hideEvent(QHideEvent* /*event*/) { timer_.stop(); }

void BusyIndicator::paintEvent(QPaintEvent* /*event*/) {
  QPainter painter(this);
  painter.setRenderHint(QPainter::Antialiasing);
  painter.setPen(Qt::NoPen);
  painter.translate(width() / 2.0, height() / 2.0);
  const double radius = 0.38 * std::min(width(), height());
  for (int dot = 0; dot < kDots; ++dot) {
    QColor color = palette().color(QPalette::WindowText);
    const int behind = (step_ - dot + kDots) % kDots;
    color.setAlphaF(static_cast<float>(isAnimating() ? std::max(0.2, 0.9 - 0.2 * behind) : 0.2));
    painter.setBrush(color);
    const double angle = 2 * std::numbers::pi * dot / kDots;
    painter.drawEllipse(QPointF(radius * std::sin(angle), -radius * std::cos(angle)), radius / 4.2,
                        radius / 4.2);
  }
}

}  // namespace fillstation
