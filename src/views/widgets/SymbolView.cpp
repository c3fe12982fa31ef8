#include "views/widgets/SymbolView.h"

#include "views/widgets/Style.h"
#include "views/widgets/Symbols.h"

#include <QPainter>

SymbolView::SymbolView(const QString& symbolName, int pixelSize, QWidget* parent)
    : QWidget(parent)
    , m_pixelSize(pixelSize) {
    setSymbolName(symbolName);
    setFixedSize(pixelSize, pixelSize);
}

void SymbolView::setSymbolName(const QString& symbolName) {
    if (!Symbols::isKnown(symbolName)) {
        qFatal("SymbolView: no symbol is named \"%s\"", qPrintable(symbolName));
    }
    if (symbolName != m_symbolName) {
        m_symbolName = symbolName;
        update();
    }
}

void SymbolView::setTone(Tone tone) {
    m_tone = tone;
    m_color.reset();
    update();
}

void SymbolView::setColor(const QColor& color) {
    m_color = color;
    update();
}

QColor SymbolView::color() const {
    if (m_color) {
        return *m_color;
    }
    return Style::color(m_tone, palette());
}

void SymbolView::paintEvent(QPaintEvent* /*event*/) {
    QPainter painter(this);
    const QPixmap image = Symbols::pixmap(m_symbolName, m_pixelSize, color(), devicePixelRatioF(),
                                          Symbols::providedFor(this));
    const QPoint origin((width() - m_pixelSize) / 2, (height() - m_pixelSize) / 2);
    painter.drawPixmap(origin, image);
}
