#include "views/overlay/OverlayPanel.h"

#include "views/overlay/OverlayView.h"

#include <QGraphicsOpacityEffect>
#include <QVBoxLayout>

OverlayPanel::OverlayPanel(QWidget* parent)
    : QWidget(parent, Qt::Tool | Qt::FramelessWindowHint | Qt::WindowStaysOnTopHint |
                          Qt::WindowDoesNotAcceptFocus | Qt::WindowTransparentForInput |
                          // Unmanaged on X11: no focus, no decoration, on every desktop.
                          Qt::X11BypassWindowManagerHint | Qt::NoDropShadowWindowHint) {
    setObjectName(QStringLiteral("overlayPanel"));
    setWindowTitle(QStringLiteral("Scrubline Overlay"));
    setAttribute(Qt::WA_TranslucentBackground);
    setAttribute(Qt::WA_ShowWithoutActivating);
    setAttribute(Qt::WA_TransparentForMouseEvents);
    // A tool window would otherwise hide while the program is not the active one, which a
    // program without windows of its own almost never is.
    setAttribute(Qt::WA_MacAlwaysShowToolWindow);
    setFocusPolicy(Qt::NoFocus);

    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSizeConstraint(QLayout::SetFixedSize);
    m_fader = new QWidget(this);
    m_fader->setObjectName(QStringLiteral("overlayFader"));
    auto* faderLayout = new QVBoxLayout(m_fader);
    faderLayout->setContentsMargins(shadowMargin, shadowMargin, shadowMargin, shadowMargin);
    faderLayout->setSizeConstraint(QLayout::SetFixedSize);
    m_fadeEffect = new QGraphicsOpacityEffect(m_fader);
    m_fadeEffect->setOpacity(1.0);
    m_fader->setGraphicsEffect(m_fadeEffect);
    layout->addWidget(m_fader);
}

qreal OverlayPanel::fade() const {
    return m_fadeEffect->opacity();
}

void OverlayPanel::setFade(qreal fade) {
    if (fade != m_fadeEffect->opacity()) {
        m_fadeEffect->setOpacity(fade);
        emit fadeChanged(fade);
    }
}

void OverlayPanel::setCard(OverlayView* card) {
    if (m_card != nullptr) {
        m_fader->layout()->removeWidget(m_card);
        delete m_card;
    }
    m_card = card;
    card->setParent(m_fader);
    m_fader->layout()->addWidget(card);
    card->show();
    m_fader->layout()->activate();
    layout()->activate();
    adjustSize();
}
