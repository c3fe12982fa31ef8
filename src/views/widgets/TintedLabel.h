#pragma once

#include "views/widgets/Style.h"

#include <QLabel>

// A label whose text has the colour of a role, worked out again whenever the palette changes,
// so that it reads after a switch between light and dark. The role is given by the code that
// knows what the text means.
class TintedLabel : public QLabel {
    Q_OBJECT

public:
    explicit TintedLabel(Style::Role role, QWidget* parent = nullptr);
    TintedLabel(const QString& text, Style::Role role, QWidget* parent = nullptr);

    Style::Role role() const { return m_role; }
    void setRole(Style::Role role);

private:
    void tint();

    Style::Role m_role;
};
