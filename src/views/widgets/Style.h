#pragma once

#include "models/MediaApp.h"

#include <QColor>
#include <QFont>
#include <QPalette>

class QWidget;

// The fonts and colours the views share, derived from the application font and palette, so
// that they read on light and dark themes alike.
namespace Style {

// The application font at `pointSize`, with `weight`.
QFont systemFont(qreal pointSize, QFont::Weight weight = QFont::Normal);
QFont headlineFont();
QFont captionFont();
// The size of secondary controls and their labels.
QFont calloutFont();
// The smallest caption size, for secondary lines.
QFont caption2Font();

bool isDark(const QPalette& palette);

// Text and symbol colours by emphasis.
QColor primary(const QPalette& palette);
QColor secondary(const QPalette& palette);
QColor tertiary(const QPalette& palette);
// The faintest shade, for fills behind text such as a key cap.
QColor quaternary(const QPalette& palette);
QColor accent(const QPalette& palette);
QColor warning(const QPalette& palette);
// The warning orange for small text: deeper on a light ground so that it stays readable.
QColor warningText(const QPalette& palette);
// The standard green and red, in their darker variants on a light ground for the same reason.
QColor success(const QPalette& palette);
QColor destructive(const QPalette& palette);
// The standard red of symbols, such as a delete button or a recording dot.
QColor red(const QPalette& palette);
QColor separator(const QPalette& palette);
// The standard colour a player is shown in.
QColor tint(TintColor color);

// What a text or symbol says by its colour, named by the code that knows its meaning.
enum class Role {
    primary,
    secondary,
    tertiary,
    quaternary,
    accent,
    success,
    // The warning orange of symbols and larger text.
    warning,
    // The warning orange of small text.
    warningText,
    error,
};
QColor color(Role role, const QPalette& palette);

// Gives `widget`'s colour `target` the colour of `role`, worked out from the palette it would
// have without it (its parent's), so that it can be worked out again after a palette change.
void setColor(QWidget& widget, QPalette::ColorRole target, Role role);

} // namespace Style
