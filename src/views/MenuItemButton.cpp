#include "MenuItemButton.h"

#include "MenuItemLabel.h"

MenuItemButton::MenuItemButton(const QString& text, std::function<void()> action, QWidget* parent)
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

QSize MenuItemButton::sizeHint() const {
    return MenuItemLabel::rowSizeHint(*this, text());
}

void MenuItemButton::enterEvent(QEnterEvent* event) {
    m_isHovered = true;
    update();
    QAbstractButton::enterEvent(event);
}

void MenuItemButton::leaveEvent(QEvent* event) {
    m_isHovered = false;
    update();
    QAbstractButton::leaveEvent(event);
}

void MenuItemButton::paintEvent(QPaintEvent* /*event*/) {
    MenuItemLabel::paintRow(*this, text(), m_isHovered);
}
