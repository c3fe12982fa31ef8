#include "views/overlay/OverlayView.h"

#include "views/widgets/SkipSymbols.h"
#include "views/widgets/Style.h"
#include "views/widgets/SymbolView.h"
#include "views/widgets/TintedLabel.h"

#include <QFontInfo>
#include <QGraphicsDropShadowEffect>
#include <QLabel>
#include <QPainter>
#include <QPainterPath>
#include <QVBoxLayout>

OverlayView::OverlayView(const SeekFeedback& feedback, std::int64_t forwardSeconds,
                         std::int64_t backwardSeconds, MediaApp::BrowserNaming naming,
                         QWidget* parent)
    : QWidget(parent)
    , m_feedback(feedback)
    , m_forwardSeconds(forwardSeconds)
    , m_backwardSeconds(backwardSeconds)
    , m_naming(naming) {
    setAttribute(Qt::WA_TranslucentBackground);

    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(horizontalPadding, verticalPadding, horizontalPadding,
                               verticalPadding);
    layout->setSpacing(spacing);
    layout->setSizeConstraint(QLayout::SetFixedSize);

    // The symbol is as tall as a glyph of the symbol's point size.
    const QFont symbolFont = Style::systemFont(symbolPointSize, QFont::Medium);
    auto* symbol = new SymbolView(iconName(), QFontInfo(symbolFont).pixelSize(), this);
    symbol->setObjectName(QStringLiteral("icon"));
    symbol->setTone(SymbolView::Tone::primary);
    layout->addWidget(symbol, 0, Qt::AlignHCenter);

    if (m_feedback.showsTotal()) {
        auto* total = new QLabel(totalText(), this);
        total->setObjectName(QStringLiteral("total"));
        total->setFont(Style::systemFont(totalPointSize, QFont::DemiBold));
        total->setAlignment(Qt::AlignHCenter);
        total->setAccessibleName(QStringLiteral("Seeked ") + totalText() +
                                 QStringLiteral(" so far"));
        layout->addWidget(total, 0, Qt::AlignHCenter);
    }

    auto* name = new TintedLabel(playerName(), Style::Role::secondary, this);
    name->setObjectName(QStringLiteral("playerName"));
    name->setFont(Style::systemFont(namePointSize, QFont::Medium));
    name->setAlignment(Qt::AlignHCenter);
    layout->addWidget(name, 0, Qt::AlignHCenter);

    auto* shadow = new QGraphicsDropShadowEffect(this);
    shadow->setColor(QColor(0, 0, 0, qRound(0.15 * 255)));
    shadow->setBlurRadius(16); // a blur of radius 8 each way
    shadow->setOffset(0, 2);
    setGraphicsEffect(shadow);
}

QString OverlayView::iconName() const {
    if (m_feedback.showsTotal()) {
        // The total is written out under the arrow; a number in it would be the step's.
        return SkipSymbols::forKind(m_feedback.kind, 0, 0);
    }
    return SkipSymbols::forKind(m_feedback.kind, m_forwardSeconds, m_backwardSeconds);
}

void OverlayView::paintEvent(QPaintEvent* /*event*/) {
    // No blur behind a window here: a strongly translucent fill with a hairline edge stands
    // for the thin material.
    const bool dark = Style::isDark(palette());
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    QPainterPath card;
    card.addRoundedRect(QRectF(rect()).adjusted(0.5, 0.5, -0.5, -0.5), cornerRadius, cornerRadius);
    painter.fillPath(card, dark ? QColor(44, 44, 46, 196) : QColor(252, 252, 252, 184));
    painter.setPen(QPen(dark ? QColor(255, 255, 255, 40) : QColor(0, 0, 0, 22), 1));
    painter.drawPath(card);
}
