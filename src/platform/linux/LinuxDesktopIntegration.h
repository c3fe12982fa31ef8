#pragma once

#include "platform/DesktopIntegration.h"

// X11 and Wayland desktops with a PC keyboard.
class LinuxDesktopIntegration final : public DesktopIntegration {
public:
    const PlatformTexts& texts() const override;
    QString systemDescription() const override;
    bool canOpenSettings(SettingsPane pane) const override;
    void openSettings(SettingsPane pane) override;
    void showOnEveryDesktop(std::uintptr_t nativeWindow) override;
    void setRegularActivation(bool regular) override;
    void setFloating(std::uintptr_t nativeWindow, bool floating) override;
    bool placesOwnWindows() const override;
};
