#pragma once

#include <QColor>
#include <QIcon>
#include <QPalette>
#include <QPixmap>
#include <QProxyStyle>
#include <deque>
#include <utility>

namespace fillstation {

// The contrast ratio of two colours, by the Web Content Accessibility Guidelines (WCAG 2): from 1
// for equal colours to 21 for black and white. Any thread.
double contrast(const QColor& one, const QColor& other);

// The guidelines' least for texts, and for the outlines of controls.
inline constexpr double kReadableText = 4.5;
inline constexpr double kVisibleOutline = 3.0;

// The colour itself if it has this contrast with the background, otherwise a lighter or darker
// shade of it. Any thread.
QColor readable(const QColor& color, const QColor& ground, double least = kReadableText);

// The program's icon: the one of the desktop's theme, or the pictures within the program where that
// has none, as in a build folder, no larger ones than a window's title or a list of windows shows.
// Main thread, once there is an application.
QIcon programIcon();

// The picture within the program, of this size in device-independent pixels, drawn at the screen's
// pixel ratio. Main thread, once there is an application.
QPixmap programPicture(int side, qreal density);

// The colour of a text that matters less than others on that ground, and can still be read.
QColor dimmed(const QColor& text, const QColor& ground);

// The look of all windows: the desktop's own style, or Qt's Fusion. Fusion draws the outlines of
// controls in a shade of the window's colour, which on dark grounds nobody sees, and the text of a
// mirrored progress bar wrong: both are put right here. In every style the texts of what is
// switched off stand out, since the players are read during a run. Main thread.
class WindowStyle : public QProxyStyle {
  Q_OBJECT

 public:
  // The style to draw with on a desktop for which Qt chose that one: Fusion, unless the desktop has
  // a style of its own.
  static QString nameFor(const QString& chosen);

  // Over the style of that name. Without one, over the same as the application's.
  explicit WindowStyle(const QString& name = {});

  // Takes the desktop's palette and makes it ours.
  void polish(QPalette& palette) override;
  using QProxyStyle::polish;

  // The palette with window's colours of which Fusion's outlines can be seen; the same palette for
  // another style. Equal ones get the same one again and again: Fusion keeps what it has drawn
  // under a palette's key.
  QPalette outlined(const QPalette& palette) const;

  // The ring around the focus is above the control and its neighbours, so that nothing cuts it off.
  int styleHint(StyleHint hint, const QStyleOption* option = nullptr,
                const QWidget* widget = nullptr,
                QStyleHintReturn* returned = nullptr) const override;

  void drawPrimitive(PrimitiveElement element, const QStyleOption* option, QPainter* painter,
                     const QWidget* widget) const override;
  void drawControl(ControlElement element, const QStyleOption* option, QPainter* painter,
                   const QWidget* widget) const override;
  void drawComplexControl(ComplexControl control, const QStyleOptionComplex* option,
                          QPainter* painter, const QWidget* widget) const override;

 private:
  const bool isFusion_;
  // Each palette of late and what it has become, the oldest first.
  mutable std::deque<std::pair<QPalette, QPalette>> outlined_;
};

}  // namespace fillstation
