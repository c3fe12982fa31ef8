#pragma once

#include "platform/SymbolImages.h"

// SF Symbols through NSImage (macOS 11 and later).
class SystemSymbolImages : public SymbolImages {
public:
    QByteArray image(const QString& name, int pixelSize) const override;
};
