#pragma once

#include "views/widgets/Style.h"

#include <QColor>
#include <QWidget>

#include <optional>

// One symbol, drawn crisp at the screen's pixel density in a colour that follows the palette
// unless a fixed one is given.
class SymbolView : public QWidget {
    Q_OBJECT
    Q_PROPERTY(QString symbolName READ symbolName)
    Q_PROPERTY(QColor color READ color)

public:
    using Tone = Style::Role;

    // An unknown name is a programming error and stops the process.
    SymbolView(const QString& symbolName, int pixelSize, QWidget* parent = nullptr);

    QString symbolName() const { return m_symbolName; }
    // An unknown name stops the process here too.
    void setSymbolName(const QString& symbolName);
    void setTone(Tone tone);
    void setColor(const QColor& color);
    // The colour it is drawn in now.
    QColor color() const;

    QSize sizeHint() const override { return {m_pixelSize, m_pixelSize}; }
    QSize minimumSizeHint() const override { return sizeHint(); }

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    QString m_symbolName;
    int m_pixelSize;
    Tone m_tone = Tone::primary;
    std::optional<QColor> m_color;
};
