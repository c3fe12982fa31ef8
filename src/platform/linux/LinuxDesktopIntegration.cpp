#include "LinuxDesktopIntegration.h"

#include <QSysInfo>

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

QString LinuxDesktopIntegration::systemDescription() const {
    // The distribution by its own name, then the kernel, which decides what the desktop can do,
    // then the processor the program really runs on.
    QString kernel = QSysInfo::kernelType();
    if (!kernel.isEmpty()) {
        kernel[0] = kernel[0].toUpper();
    }
    return QSysInfo::prettyProductName() + QStringLiteral(" | ") + kernel + QLatin1Char(' ') +
           QSysInfo::kernelVersion() + QStringLiteral(" | ") + QSysInfo::currentCpuArchitecture();
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
