#pragma once

#include <QByteArray>
#include <QString>

// The platform's own drawings of symbol names ("goforward.10"), where it has them.
class SymbolImages {
public:
    virtual ~SymbolImages() = default;

    // The symbol as a black drawing on a transparent ground, fitted into a square of
    // `pixelSize` device pixels: premultiplied RGBA, 8 bits a channel, rows top to bottom.
    // Empty when the platform does not draw it.
    virtual QByteArray image(const QString& name, int pixelSize) const = 0;
};
