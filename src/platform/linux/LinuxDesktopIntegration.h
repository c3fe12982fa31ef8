#pragma once

#include "platform/DesktopIntegration.h"

// X11 and Wayland desktops with a PC keyboard.
class LinuxDesktopIntegration final : public DesktopIntegration {
public:
    QString defaultHotkeysHint() const override;
    void showOnEveryDesktop(std::uintptr_t nativeWindow) override;
};
