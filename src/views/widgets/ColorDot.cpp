#include "views/widgets/ColorDot.h"

#include <QPainter>

ColorDot::ColorDot(const QColor& color, QWidget* parent)
    : QWidget(parent)
    , m_color(color) {
    setFixedSize(diameter, diameter);
}

void ColorDot::setColor(const QColor& color) {
    if (color != m_color) {
        m_color = color;
        update();
    }
}

void ColorDot::paintEvent(QPaintEvent* /*event*/) {
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(Qt::NoPen);
    painter.setBrush(m_color);
    painter.drawEllipse(QRectF(0, 0, diameter, diameter));
}
