#include "views/widgets/Spinner.h"

#include "views/widgets/Style.h"

#include <QPainter>

namespace {

constexpr int stepDegrees = 30;
constexpr int stepMs = 80;

} // namespace

Spinner::Spinner(int pixelSize, QWidget* parent)
    : QWidget(parent)
    , m_pixelSize(pixelSize) {
    setAccessibleName(QStringLiteral("In progress"));
    setSizePolicy(QSizePolicy::Fixed, QSizePolicy::Fixed);
    m_turn.setInterval(stepMs);
    connect(&m_turn, &QTimer::timeout, this, [this] {
        m_angle = (m_angle + stepDegrees) % 360;
        update();
    });
}

void Spinner::showEvent(QShowEvent* event) {
    QWidget::showEvent(event);
    // Turns only while it can be seen, so a hidden one costs nothing.
    m_turn.start();
}

void Spinner::hideEvent(QHideEvent* event) {
    QWidget::hideEvent(event);
    m_turn.stop();
}

void Spinner::paintEvent(QPaintEvent* /*event*/) {
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    const qreal pen = qMax(1.5, m_pixelSize / 8.0);
    const QRectF ring =
        QRectF(0, 0, m_pixelSize, m_pixelSize)
            .adjusted(pen, pen, -pen, -pen)
            .translated((width() - m_pixelSize) / 2.0, (height() - m_pixelSize) / 2.0);
    painter.setPen(QPen(Style::separator(palette()), pen));
    painter.drawEllipse(ring);
    painter.setPen(QPen(Style::secondary(palette()), pen, Qt::SolidLine, Qt::RoundCap));
    // A quarter of the ring, turning clockwise; Qt counts angles anticlockwise in 1/16 degrees.
    painter.drawArc(ring, -m_angle * 16, 90 * 16);
}
