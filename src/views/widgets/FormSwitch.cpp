#include "views/widgets/FormSwitch.h"

#include "views/widgets/Style.h"

#include <QPainter>
#include <QPainterPath>

namespace {

// Between the label and the switch, at the least.
constexpr int gap = 12;
constexpr int verticalPadding = 3;
constexpr qreal knobInset = 2;
// Room at the end for the focus ring around the switch.
constexpr int focusRing = 3;

} // namespace

FormSwitch::FormSwitch(const QString& text, QWidget* parent)
    : QAbstractButton(parent) {
    setText(text);
    setCheckable(true);
    setFocusPolicy(Qt::StrongFocus);
    setCursor(Qt::PointingHandCursor);
    setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Fixed);
}

QSize FormSwitch::sizeHint() const {
    const QFontMetrics metrics = fontMetrics();
    return {metrics.horizontalAdvance(text()) + gap + trackWidth + focusRing,
            std::max(metrics.height(), trackHeight) + 2 * verticalPadding};
}

QSize FormSwitch::minimumSizeHint() const {
    // The label may be elided; the switch never is.
    return {trackWidth + focusRing + gap + fontMetrics().horizontalAdvance(QStringLiteral("...")),
            sizeHint().height()};
}

QRectF FormSwitch::trackRect() const {
    return {qreal(width() - trackWidth - focusRing), (height() - trackHeight) / 2.0,
            qreal(trackWidth), qreal(trackHeight)};
}

void FormSwitch::paintEvent(QPaintEvent* /*event*/) {
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    const QPalette& colors = palette();
    const qreal opacity = isEnabled() ? 1.0 : 0.45;

    const QRectF track = trackRect();
    const QRect textRect(0, 0, int(track.left()) - gap, height());
    painter.setOpacity(opacity);
    painter.setPen(Style::primary(colors));
    painter.drawText(textRect, Qt::AlignLeft | Qt::AlignVCenter,
                     fontMetrics().elidedText(text(), Qt::ElideRight, textRect.width()));

    const qreal radius = track.height() / 2;
    QColor off = colors.color(QPalette::WindowText);
    off.setAlphaF(Style::isDark(colors) ? 0.28 : 0.18);
    QColor fill = isChecked() ? Style::accent(colors) : off;
    if (isDown()) {
        fill = fill.darker(112);
    }
    painter.setPen(Qt::NoPen);
    painter.setBrush(fill);
    painter.drawRoundedRect(track, radius, radius);

    const qreal knob = track.height() - 2 * knobInset;
    const qreal knobLeft =
        isChecked() ? track.right() - knobInset - knob : track.left() + knobInset;
    const QRectF knobRect(knobLeft, track.top() + knobInset, knob, knob);
    painter.setBrush(QColor(0, 0, 0, 40));
    painter.drawEllipse(knobRect.translated(0, 0.6));
    painter.setBrush(Qt::white);
    painter.drawEllipse(knobRect);

    if (hasFocus()) {
        QColor ring = Style::accent(colors);
        ring.setAlphaF(0.55);
        painter.setBrush(Qt::NoBrush);
        painter.setPen(QPen(ring, 2));
        painter.drawRoundedRect(track.adjusted(-2, -2, 2, 2), radius + 2, radius + 2);
    }
}
