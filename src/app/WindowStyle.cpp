#include "WindowStyle.h"

#include <QApplication>
#include <QPainter>
#include <QScopedValueRollback>
#include <QStyleOption>
#include <algorithm>
#include <cmath>

namespace fillstation {
namespace {

// Fusion's outline is the window's colour, this much darker, in percent.
constexpr int kOutlineDarkness = 140;

// With a reserve: Fusion draws some outlines lighter than others, and those of lists and fields on
// another background.
constexpr double kOutline = 1.25 * kVisibleOutline;

// More than the palettes that are in use at a time: the desktop's, and those of a few special
// controls.
constexpr std::size_t kPalettes = 16;

// Fusion's, above the frame of a group and its title.
constexpr int kGroupMargin = 3;

// Of the pictures of the icon.
constexpr int kLargest = 256;

double linear(double channel) {
  return channel <= 0.04045 ? channel / 12.92 : std::pow((channel + 0.055) / 1.055, 2.4);
}

double luminance(const QColor& color) {
  return 0.2126 * linear(color.redF()) + 0.7152 * linear(color.greenF()) +
         0.0722 * linear(color.blueF());
}

// The palette of an option, to be replaced during a drawing. Not nested: for a box with a list,
// Fusion draws a field and a button.
QPalette& paletteOf(const QStyleOption* option) {
  return const_cast<QStyleOption*>(option)->palette;
}

QColor outlinedWindow(const QColor& window) {
  const QColor outline = readable(window.darker(kOutlineDarkness), window, kOutline);
  const QColor wanted = outline.lighter(kOutlineDarkness);
  // No colour is light enough for a light outline on a ground of medium brightness.
  const bool enough = contrast(wanted.darker(kOutlineDarkness), window) >= kVisibleOutline;
  return enough ? wanted : QColor(Qt::black);
}

// Fusion paints the wrong end of a mirrored bar. So it gets a bar from left to right that shows the
// remaining part, with its two colours exchanged.
QStyleOptionProgressBar unmirrored(const QStyleOptionProgressBar& bar) {
  QStyleOptionProgressBar other = bar;
  other.direction = Qt::LeftToRight;
  other.progress = bar.maximum - (bar.progress - bar.minimum);
  other.palette.setBrush(QPalette::Text, bar.palette.brush(QPalette::HighlightedText));
  other.palette.setBrush(QPalette::HighlightedText, bar.palette.brush(QPalette::Text));
  return other;
}

// Without a name, the style below the application's.
QString nameOrApplications(const QString& name) {
  const auto* const style = qobject_cast<const WindowStyle*>(QApplication::style());
  const QString below = style != nullptr ? style->baseStyle()->name() : QString();
  return name.isEmpty() ? WindowStyle::nameFor(below) : name;
}

// The frame of a group as Fusion shows it, but for shades. It stretches a picture over the group,
// which was a twelfth of all instructions until the window was first painted.
void drawGroupFrame(const QStyleOption& option, int titleHeight, QPainter& painter) {
  const QColor ground = option.palette.color(QPalette::Window);
  const auto mixed = [&ground](int shade, int opacity) {
    const auto part = [=](int own) { return (own * (255 - opacity) + shade * opacity) / 255; };
    return QColor(part(ground.red()), part(ground.green()), part(ground.blue()));
  };
  // In Qt 6.8 the title is no part of the place of the frame.
  const int top = option.rect.top() > 0 ? 0 : titleHeight + kGroupMargin;
  const QRect frame = option.rect.adjusted(1, top + 1, 0, 0);
  painter.fillRect(frame, mixed(117, 50));
  painter.fillRect(frame.adjusted(1, 1, -1, -1), mixed(0, 3));
}

// With its format, since a start waits for this: nobody is asked who can read the picture.
QPixmap pictureWithin(int side) {
  return QPixmap(QStringLiteral(":/icons/%1.png").arg(side), "png");
}

}  // namespace

double contrast(const QColor& one, const QColor& other) {
  const double first = luminance(one) + 0.05;
  const double second = luminance(other) + 0.05;
  return first > second ? first / second : second / first;
}

QColor readable(const QColor& color, const QColor& ground, double least) {
  const QColor goal =
      contrast(Qt::white, ground) > contrast(Qt::black, ground) ? Qt::white : Qt::black;
  const auto mixed = [&](double share) {
    const auto part = [share](float from, float to) {
      return static_cast<float>(from + (to - from) * share);
    };
    // In the screen's 256 shades, so that the requested contrast is the visible one.
    return QColor(QColor::fromRgbF(part(color.redF(), goal.redF()),
                                   part(color.greenF(), goal.greenF()),
                                   part(color.blueF(), goal.blueF()))
                      .rgb());
  };
  double share = 0;
  while (share < 1 && contrast(mixed(share), ground) < least) {
    share += 0.05;
  }
  return share > 0 ? mixed(share) : color;
}

QIcon programIcon() {
  QIcon themed = QIcon::fromTheme(QStringLiteral("fillstation"));
  if (!themed.availableSizes().isEmpty()) {
    return themed;
  }
  QIcon own;
  for (const int side : {16, 24, 32, 48, 64}) {
    own.addPixmap(pictureWithin(side));
  }
  return own;
}

QPixmap programPicture(int side, qreal density) {
  const int pixels = qRound(side * density);
  QPixmap picture =
      pictureWithin(kLargest).scaled(pixels, pixels, Qt::KeepAspectRatio, Qt::SmoothTransformation);
  picture.setDevicePixelRatio(density);
  return picture;
}

QColor dimmed(const QColor& text, const QColor& ground) {
  const auto mixed = [](int own, int other) { return (own * 3 + other * 2) / 5; };
  return readable(QColor(mixed(text.red(), ground.red()), mixed(text.green(), ground.green()),
                         mixed(text.blue(), ground.blue())),
                  ground);
}

QString WindowStyle::nameFor(const QString& chosen) {
  // Where the desktop has no style, Qt chose the first that it has.
  return chosen.isEmpty() || chosen == QLatin1String("windows") ? QStringLiteral("fusion") : chosen;
}

WindowStyle::WindowStyle(const QString& name)
    : QProxyStyle(nameOrApplications(name)),
      isFusion_(baseStyle()->name() == QLatin1String("fusion")) {}

void WindowStyle::polish(QPalette& palette) {
  QProxyStyle::polish(palette);
  // Lists are read during a run, when they are switched off: only buttons look so.
  for (const auto role : {QPalette::WindowText, QPalette::Text, QPalette::Base,
                          QPalette::AlternateBase, QPalette::Highlight}) {
    palette.setColor(QPalette::Disabled, role, palette.color(QPalette::Active, role));
  }
  QColor dim = palette.color(QPalette::Disabled, QPalette::ButtonText);
  // A disabled control may be inside an enabled one.
  for (const auto group : {QPalette::Active, QPalette::Disabled}) {
    dim = readable(dim, palette.color(group, QPalette::Button), kVisibleOutline);
  }
  palette.setColor(QPalette::Disabled, QPalette::ButtonText, dim);
}

QPalette WindowStyle::outlined(const QPalette& palette) const {
  if (!isFusion_) {
    return palette;
  }
  auto known = std::find_if(outlined_.begin(), outlined_.end(),
                            [&](const auto& pair) { return pair.first == palette; });
  if (known == outlined_.end()) {
    QPalette other = palette;
    for (const auto group : {QPalette::Active, QPalette::Inactive, QPalette::Disabled}) {
      other.setColor(group, QPalette::Window,
                     outlinedWindow(palette.color(group, QPalette::Window)));
    }
    if (outlined_.size() == kPalettes) {
      outlined_.pop_front();
    }
    known = outlined_.insert(outlined_.end(), {palette, other});
  }
  QPalette found = known->second;
  found.setCurrentColorGroup(palette.currentColorGroup());
  return found;
}

int WindowStyle::styleHint(StyleHint hint, const QStyleOption* option, const QWidget* widget,
                           QStyleHintReturn* returned) const {
  switch (hint) {
    case SH_FocusFrame_AboveWidget:
      return 1;
    case SH_DialogButtonBox_ButtonsHaveIcons:
      return 0;
    default:
      return QProxyStyle::styleHint(hint, option, widget, returned);
  }
}

void WindowStyle::drawPrimitive(PrimitiveElement element, const QStyleOption* option,
                                QPainter* painter, const QWidget* widget) const {
  switch (element) {
    case PE_FrameGroupBox:
      if (!isFusion_) {
        break;
      }
      drawGroupFrame(*option,
                     std::max(pixelMetric(PM_ExclusiveIndicatorHeight, option, widget),
                              option->fontMetrics.height()),
                     *painter);
      return;
    case PE_Frame:
    case PE_FrameLineEdit:
    case PE_IndicatorCheckBox:
    case PE_PanelButtonCommand: {
      const QScopedValueRollback repainted(paletteOf(option), outlined(option->palette));
      QProxyStyle::drawPrimitive(element, option, painter, widget);
      return;
    }
    default:
      break;
  }
  QProxyStyle::drawPrimitive(element, option, painter, widget);
}

void WindowStyle::drawControl(ControlElement element, const QStyleOption* option, QPainter* painter,
                              const QWidget* widget) const {
  const auto* const bar = qstyleoption_cast<const QStyleOptionProgressBar*>(option);
  if (element == CE_ProgressBarGroove) {
    const QScopedValueRollback repainted(paletteOf(option), outlined(option->palette));
    QProxyStyle::drawControl(element, option, painter, widget);
  } else if (isFusion_ && element == CE_ProgressBarLabel && bar->direction == Qt::RightToLeft) {
    const QStyleOptionProgressBar other = unmirrored(*bar);
    QProxyStyle::drawControl(element, &other, painter, widget);
  } else if (element != CE_ProgressBarContents || bar->progress > bar->minimum) {
    QProxyStyle::drawControl(element, option, painter, widget);
  }
}

void WindowStyle::drawComplexControl(ComplexControl control, const QStyleOptionComplex* option,
                                     QPainter* painter, const QWidget* widget) const {
  if (control == CC_ScrollBar) {
    const QScopedValueRollback repainted(paletteOf(option), outlined(option->palette));
    QProxyStyle::drawComplexControl(control, option, painter, widget);
  } else {
    QProxyStyle::drawComplexControl(control, option, painter, widget);
  }
}

}  // namespace fillstation
