#pragma once

#include "platform/SymbolImages.h"

// The desktop has no symbol set of its own: the program's drawings are used everywhere.
class NoSymbolImages : public SymbolImages {
public:
    QByteArray image(const QString& /*name*/, int /*pixelSize*/) const override { return {}; }
};
