#pragma once

#include "platform/DesktopIntegration.h"

// The macOS desktop: its key names, and Spaces.
class MacDesktopIntegration final : public DesktopIntegration {
public:
    QString defaultHotkeysHint() const override;
    void showOnEveryDesktop(std::uintptr_t nativeWindow) override;
};
