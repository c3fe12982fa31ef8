#include "views/widgets/Style.h"

#include <QApplication>
#include <QWidget>

#include <algorithm>

namespace Style {

QFont systemFont(qreal pointSize, QFont::Weight weight) {
    QFont font = QApplication::font();
    font.setPointSizeF(pointSize);
    font.setWeight(weight);
    return font;
}

QFont headlineFont() {
    return systemFont(13, QFont::DemiBold);
}

QFont captionFont() {
    return systemFont(10);
}

QFont calloutFont() {
    // A point below the body text where that is large, as on macOS; never below 9 points.
    return systemFont(std::max(9.0, QApplication::font().pointSizeF() - 1));
}

QFont caption2Font() {
    return systemFont(9);
}

bool isDark(const QPalette& palette) {
    return palette.color(QPalette::Window).lightnessF() < 0.5;
}

namespace {

QColor withAlpha(QColor color, qreal alpha) {
    color.setAlphaF(alpha);
    return color;
}

} // namespace

QColor primary(const QPalette& palette) {
    return withAlpha(palette.color(QPalette::WindowText), isDark(palette) ? 0.9 : 0.85);
}

QColor secondary(const QPalette& palette) {
    return withAlpha(palette.color(QPalette::WindowText), isDark(palette) ? 0.6 : 0.55);
}

QColor tertiary(const QPalette& palette) {
    return withAlpha(palette.color(QPalette::WindowText), isDark(palette) ? 0.4 : 0.35);
}

QColor quaternary(const QPalette& palette) {
    return withAlpha(palette.color(QPalette::WindowText), isDark(palette) ? 0.16 : 0.1);
}

QColor accent(const QPalette& palette) {
    return palette.color(QPalette::Highlight);
}

QColor warning(const QPalette& palette) {
    // The standard orange, a little lighter where the ground is dark.
    return isDark(palette) ? QColor(0xFF9F0A) : QColor(0xFF9500);
}

QColor warningText(const QPalette& palette) {
    const QColor orange = warning(palette);
    return isDark(palette) ? orange : orange.darker(125);
}

QColor success(const QPalette& palette) {
    return isDark(palette) ? QColor(0x30D158) : QColor(0x248A3D);
}

QColor destructive(const QPalette& palette) {
    return isDark(palette) ? QColor(0xFF453A) : QColor(0xD70015);
}

QColor red(const QPalette& palette) {
    return isDark(palette) ? QColor(0xFF453A) : QColor(0xFF3B30);
}

QColor separator(const QPalette& palette) {
    return withAlpha(palette.color(QPalette::WindowText), isDark(palette) ? 0.18 : 0.12);
}

QColor tint(TintColor color) {
    return QColor::fromRgb(tintColorRgb(color));
}

QColor color(Role role, const QPalette& palette) {
    switch (role) {
    case Role::primary:
        return primary(palette);
    case Role::secondary:
        return secondary(palette);
    case Role::tertiary:
        return tertiary(palette);
    case Role::quaternary:
        return quaternary(palette);
    case Role::accent:
        return accent(palette);
    case Role::success:
        return success(palette);
    case Role::warning:
        return warning(palette);
    case Role::warningText:
        return warningText(palette);
    case Role::error:
        return destructive(palette);
    }
    return primary(palette);
}

void setColor(QWidget& widget, QPalette::ColorRole target, Role role) {
    // The widget's own palette holds the colour set last time: a new one is worked out from
    // the palette around it, or a light-to-dark switch would keep the old text colour.
    const QWidget* parent = widget.parentWidget();
    const QPalette around = parent != nullptr ? parent->palette() : QApplication::palette(&widget);
    QPalette palette = widget.palette();
    palette.setColor(target, color(role, around));
    widget.setPalette(palette);
}

} // namespace Style
