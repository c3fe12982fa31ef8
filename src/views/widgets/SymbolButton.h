#pragma once

#include <QAbstractButton>
#include <QColor>

// A borderless button that is only its symbol, drawn in the colour it is given; its whole
// rectangle answers the mouse.
class SymbolButton : public QAbstractButton {
    Q_OBJECT
    Q_PROPERTY(QString symbolName READ symbolName)
    Q_PROPERTY(QColor color READ color)

public:
    // An unknown name is a programming error and stops the process.
    SymbolButton(const QString& symbolName, int pixelSize, QWidget* parent = nullptr);

    QString symbolName() const { return m_symbolName; }
    QColor color() const { return m_color; }
    void setColor(const QColor& color);

    QSize sizeHint() const override { return {m_pixelSize, m_pixelSize}; }

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    QString m_symbolName;
    int m_pixelSize;
    QColor m_color;
};
