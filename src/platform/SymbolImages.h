#pragma once

#include <QImage>
#include <QString>

// The platform's own drawings of symbol names ("goforward.10"), where it has them.
class SymbolImages {
public:
    virtual ~SymbolImages() = default;

    // The symbol as a black drawing on a transparent ground, fitted into a square of
    // `pixelSize` device pixels, or a null image when the platform does not draw it.
    virtual QImage image(const QString& name, int pixelSize) const = 0;
};
