#include "LinuxDesktopIntegration.h"

const PlatformTexts& LinuxDesktopIntegration::texts() const {
    static const PlatformTexts texts{
        // The preset modifiers as a PC keyboard labels them: option is Alt, command is Super.
        QStringLiteral("Default: Ctrl+Alt+Super + Arrow Keys"),
        // Linux desktops put status icons in a tray (or a panel's status area), not a menu bar.
        QStringLiteral("Show tray icon"),
        QStringLiteral("Show or hide the tray icon"),
        QStringLiteral("Hide tray icon?"),
        QStringLiteral("You will need to re-launch Scrubline to show the icon again. Hotkeys will "
                       "continue to work."),
        QStringLiteral("The tray icon is hidden. Hotkeys still work. Re-launch the app to show it "
                       "again."),
    };
    return texts;
}

void LinuxDesktopIntegration::showOnEveryDesktop(std::uintptr_t /*nativeWindow*/) {
    // The overlay bypasses the window manager on X11, which puts it on every desktop; Wayland
    // compositors decide for themselves.
}

void LinuxDesktopIntegration::setRegularActivation(bool /*regular*/) {
    // Every window here is a regular one; a program without windows simply shows none.
}

void LinuxDesktopIntegration::setFloating(std::uintptr_t /*nativeWindow*/, bool /*floating*/) {
    // Raising and activating the window, which the toolkit does, is what a window manager here
    // allows; keeping it above others would mean re-creating it with other flags.
}
