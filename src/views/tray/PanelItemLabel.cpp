#include "views/tray/PanelItemLabel.h"

#include "views/widgets/Style.h"

#include <QPainter>

namespace {

constexpr int horizontalPadding = 8;
constexpr int verticalPadding = 4;
constexpr qreal cornerRadius = 4;

} // namespace

PanelItemLabel::PanelItemLabel(const QString& text, QWidget* parent)
    : QWidget(parent)
    , m_text(text) {
    setAttribute(Qt::WA_Hover);
    setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Fixed);
}

QSize PanelItemLabel::sizeHint() const {
    return rowSizeHint(*this, m_text);
}

QSize PanelItemLabel::rowSizeHint(const QWidget& row, const QString& text) {
    const QFontMetrics metrics = row.fontMetrics();
    return {metrics.horizontalAdvance(text) + 2 * horizontalPadding,
            metrics.height() + 2 * verticalPadding};
}

void PanelItemLabel::paintRow(QWidget& row, const QString& text, bool hovered) {
    QPainter painter(&row);
    painter.setRenderHint(QPainter::Antialiasing);
    if (hovered) {
        painter.setPen(Qt::NoPen);
        painter.setBrush(Style::accent(row.palette()));
        painter.drawRoundedRect(QRectF(row.rect()), cornerRadius, cornerRadius);
    }
    painter.setPen(hovered ? QColor(Qt::white) : Style::primary(row.palette()));
    painter.drawText(row.rect().adjusted(horizontalPadding, verticalPadding, -horizontalPadding,
                                         -verticalPadding),
                     Qt::AlignLeft | Qt::AlignVCenter, text);
}

void PanelItemLabel::enterEvent(QEnterEvent* event) {
    m_isHovered = true;
    update();
    QWidget::enterEvent(event);
}

void PanelItemLabel::leaveEvent(QEvent* event) {
    m_isHovered = false;
    update();
    QWidget::leaveEvent(event);
}

void PanelItemLabel::paintEvent(QPaintEvent* /*event*/) {
    paintRow(*this, m_text, m_isHovered);
}
