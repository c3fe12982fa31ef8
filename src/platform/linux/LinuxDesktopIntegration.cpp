#include "LinuxDesktopIntegration.h"

#include "utilities/Logger.h"

#include <QGuiApplication>
#include <QProcess>
#include <QStandardPaths>
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
        // What stands for the macOS accessibility trust here: whether this session lets a
        // program have keys system-wide at all, and by which means.
        QStringLiteral("Global Hotkeys"),
        QStringLiteral("Global hotkeys"),
        QStringLiteral("Hotkeys that work in every program."),
        // The means this session gives, named where there is one.
        QStringLiteral("X11 key grabs"),
        QStringLiteral("Not available"),
        QStringLiteral("This desktop gives no global hotkeys to programs. Bind \"scrubline seek "
                       "+10\", \"scrubline seek -10\" and \"scrubline play-pause\" in its own "
                       "keyboard shortcut settings."),
        QStringLiteral("Open Keyboard Shortcuts"),
        QStringLiteral("Players"),
        QStringLiteral("The player did not answer over D-Bus. It may be busy or stopped."),
        QStringLiteral("Browsers"),
        QStringLiteral("The browser published no media session over D-Bus."),
        QStringLiteral("Browsers publish what they play over D-Bus while Chrome's \"Hardware Media "
                       "Key Handling\" and Firefox's media.hardwaremediakeys.enabled are on, as "
                       "they are by default."),
        QStringLiteral("Open Shortcut Settings"),
        // Never shown here: no player on the bus waits for a permission.
        QStringLiteral("Grant %1 permission in System Settings > Privacy > Automation"),
    };
    return texts;
}

namespace {

// The desktop's own keyboard shortcut settings, as a program and its arguments; nothing where
// the desktop is not one whose settings are known.
QStringList shortcutSettingsCommand() {
    const QStringList desktops =
        qEnvironmentVariable("XDG_CURRENT_DESKTOP").split(QLatin1Char(':'), Qt::SkipEmptyParts);
    const auto runs = [&desktops](const QString& name) {
        return desktops.contains(name, Qt::CaseInsensitive);
    };
    if (runs(QStringLiteral("GNOME"))) {
        const QString program =
            QStandardPaths::findExecutable(QStringLiteral("gnome-control-center"));
        if (!program.isEmpty()) {
            return {program, QStringLiteral("keyboard")};
        }
    }
    if (runs(QStringLiteral("KDE"))) {
        for (const QString& name :
             {QStringLiteral("systemsettings"), QStringLiteral("systemsettings5")}) {
            const QString program = QStandardPaths::findExecutable(name);
            if (!program.isEmpty()) {
                return {program, QStringLiteral("kcm_keys")};
            }
        }
    }
    return {};
}

} // namespace

bool LinuxDesktopIntegration::canOpenSettings(SettingsPane /*pane*/) const {
    // Both places are the keyboard shortcuts here: that is where a player or a hotkey is let in.
    return !shortcutSettingsCommand().isEmpty();
}

void LinuxDesktopIntegration::openSettings(SettingsPane /*pane*/) {
    QStringList command = shortcutSettingsCommand();
    if (command.isEmpty()) {
        return;
    }
    const QString program = command.takeFirst();
    if (!QProcess::startDetached(program, command)) {
        qCWarning(Log::general(), "Could not start %s", qPrintable(program));
    }
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

bool LinuxDesktopIntegration::placesOwnWindows() const {
    return QGuiApplication::platformName() != QStringLiteral("wayland");
}

void LinuxDesktopIntegration::setFloating(std::uintptr_t /*nativeWindow*/, bool /*floating*/) {
    // Raising and activating the window, which the toolkit does, is what a window manager here
    // allows; keeping it above others would mean re-creating it with other flags.
}
