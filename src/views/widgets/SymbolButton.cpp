#include "views/widgets/SymbolButton.h"

#include "views/widgets/Style.h"
#include "views/widgets/Symbols.h"

#include <QPainter>

SymbolButton::SymbolButton(const QString& symbolName, int pixelSize, QWidget* parent)
    : QAbstractButton(parent)
    , m_symbolName(symbolName)
    , m_pixelSize(pixelSize)
    , m_color(Style::secondary(palette())) {
    if (!Symbols::isKnown(symbolName)) {
        qFatal("SymbolButton: no symbol is named \"%s\"", qPrintable(symbolName));
    }
    setFocusPolicy(Qt::TabFocus);
}

void SymbolButton::setColor(const QColor& color) {
    if (color != m_color) {
        m_color = color;
        update();
    }
}

void SymbolButton::paintEvent(QPaintEvent* /*event*/) {
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    // Held down, the symbol darkens to show the press, as there is no bezel to do it.
    const QColor ink = isDown() ? Style::primary(palette()) : m_color;
    const QPixmap image = Symbols::pixmap(m_symbolName, m_pixelSize, ink, devicePixelRatioF(),
                                          Symbols::providedFor(this));
    painter.drawPixmap(QPointF((width() - m_pixelSize) / 2.0, (height() - m_pixelSize) / 2.0),
                       image);
    if (hasFocus()) {
        painter.setPen(QPen(Style::accent(palette()), 1.5));
        painter.drawRoundedRect(QRectF(rect()).adjusted(1, 1, -1, -1), 3, 3);
    }
}
