#include "LinuxDesktopIntegration.h"

QString LinuxDesktopIntegration::defaultHotkeysHint() const {
    // The preset modifiers as a PC keyboard labels them: option is Alt, command is Super.
    return QStringLiteral("Default: Ctrl+Alt+Super + Arrow Keys");
}

void LinuxDesktopIntegration::showOnEveryDesktop(std::uintptr_t /*nativeWindow*/) {
    // The overlay bypasses the window manager on X11, which puts it on every desktop; Wayland
    // compositors decide for themselves.
}
