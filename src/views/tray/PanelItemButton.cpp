#include "views/tray/PanelItemButton.h"

#include "views/tray/PanelItemLabel.h"

PanelItemButton::PanelItemButton(const QString& text, std::function<void()> action, QWidget* parent)
    : QAbstractButton(parent)
    , m_action(std::move(action)) {
    setText(text);
    setAttribute(Qt::WA_Hover);
    setFocusPolicy(Qt::NoFocus);
    setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Fixed);
    connect(this, &QAbstractButton::clicked, this, [this] {
        if (m_action) {
            m_action();
        }
    });
}

QSize PanelItemButton::sizeHint() const {
    return PanelItemLabel::rowSizeHint(*this, text());
}

void PanelItemButton::enterEvent(QEnterEvent* event) {
    m_isHovered = true;
    update();
    QAbstractButton::enterEvent(event);
}

void PanelItemButton::leaveEvent(QEvent* event) {
    m_isHovered = false;
    update();
    QAbstractButton::leaveEvent(event);
}

void PanelItemButton::paintEvent(QPaintEvent* /*event*/) {
    PanelItemLabel::paintRow(*this, text(), m_isHovered);
}
