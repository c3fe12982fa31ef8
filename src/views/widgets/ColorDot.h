#pragma once

#include <QColor>
#include <QWidget>

// A small filled circle in a player's colour.
class ColorDot : public QWidget {
    Q_OBJECT
    Q_PROPERTY(QColor color READ color)

public:
    static constexpr int diameter = 6;

    explicit ColorDot(const QColor& color, QWidget* parent = nullptr);

    QColor color() const { return m_color; }
    void setColor(const QColor& color);

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    QColor m_color;
};
