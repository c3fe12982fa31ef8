#include "views/widgets/TintedLabel.h"

#include "views/widgets/PaletteFollower.h"

TintedLabel::TintedLabel(Style::Role role, QWidget* parent)
    : TintedLabel(QString(), role, parent) {}

TintedLabel::TintedLabel(const QString& text, Style::Role role, QWidget* parent)
    : QLabel(text, parent)
    , m_role(role) {
    new PaletteFollower(*this, [this] { tint(); });
    tint();
}

void TintedLabel::setRole(Style::Role role) {
    if (role != m_role) {
        m_role = role;
        tint();
    }
}

void TintedLabel::tint() {
    Style::setColor(*this, QPalette::WindowText, m_role);
}
