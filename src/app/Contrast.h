#pragma once

#include <QColor>

namespace fillstation {

// How well colours can be told apart, by the formula of the web's accessibility guidelines (WCAG 2,
// "contrast ratio"): 1 for equal colours to 21 for black and white. Any thread.

// The guidelines' least for texts, and for the outlines of controls.
inline constexpr double kReadableText = 4.5;
inline constexpr double kVisibleOutline = 3.0;

double contrast(const QColor& one, const QColor& other);

// The colour itself when it stands out from the ground that much, else a lighter or darker shade of
// it that does.
QColor readable(const QColor& color, const QColor& ground, double least = kReadableText);

}  // namespace fillstation
