#include "HUDPanel.h"

#include "HUDOverlayView.h"

#include <QVBoxLayout>

HUDPanel::HUDPanel(QWidget* parent)
    : QWidget(parent, Qt::Tool | Qt::FramelessWindowHint | Qt::WindowStaysOnTopHint |
                          Qt::WindowDoesNotAcceptFocus | Qt::WindowTransparentForInput |
                          // Unmanaged on X11: no focus, no decoration, on every desktop.
                          Qt::X11BypassWindowManagerHint | Qt::NoDropShadowWindowHint) {
    setObjectName(QStringLiteral("hudPanel"));
    setWindowTitle(QStringLiteral("Scrubline Overlay"));
    setAttribute(Qt::WA_TranslucentBackground);
    setAttribute(Qt::WA_ShowWithoutActivating);
    setAttribute(Qt::WA_TransparentForMouseEvents);
    // A tool window would otherwise hide while the program is not the active one, which a
    // program without windows of its own almost never is.
    setAttribute(Qt::WA_MacAlwaysShowToolWindow);
    setFocusPolicy(Qt::NoFocus);

    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(shadowMargin, shadowMargin, shadowMargin, shadowMargin);
    layout->setSizeConstraint(QLayout::SetFixedSize);
}

void HUDPanel::setCard(HUDOverlayView* card) {
    if (m_card != nullptr) {
        layout()->removeWidget(m_card);
        delete m_card;
    }
    m_card = card;
    card->setParent(this);
    layout()->addWidget(card);
    card->show();
    layout()->activate();
    adjustSize();
}
