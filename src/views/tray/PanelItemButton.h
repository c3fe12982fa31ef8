#pragma once

#include <QAbstractButton>

#include <functional>

// A menu-like row that runs its action when clicked; looks like PanelItemLabel.
class PanelItemButton : public QAbstractButton {
    Q_OBJECT
    Q_PROPERTY(bool hovered READ isHovered)

public:
    PanelItemButton(const QString& text, std::function<void()> action, QWidget* parent = nullptr);

    bool isHovered() const { return m_isHovered; }

    QSize sizeHint() const override;

protected:
    void enterEvent(QEnterEvent* event) override;
    void leaveEvent(QEvent* event) override;
    void paintEvent(QPaintEvent* event) override;

private:
    std::function<void()> m_action;
    bool m_isHovered = false;
};
