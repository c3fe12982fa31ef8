#include "BusSingleInstance.h"
#include "LinuxDesktopIntegration.h"
#include "LinuxTrayAvailability.h"
#include "MprisPlayerControl.h"
#include "MprisPlayerRegistry.h"
#include "MprisRunningApps.h"
#include "NoSymbolImages.h"
#include "PortalHotkeyService.h"
#include "ProgramLayout.h"
#include "X11HotkeyService.h"
#include "XdgAutostartLoginItem.h"
#include "platform/IniSettings.h"
#include "platform/Platform.h"

#include <QCoreApplication>
#include <QDBusConnection>
#include <QGuiApplication>
#include <QStandardPaths>
#include <QThread>

#include <xcb/xcb.h>

namespace {

// The players on the session bus, followed once for the whole program: the player control and
// every list of running apps read the same registry, and each of them keeps it alive. It goes
// with the last of them, on its own thread: a now-playing poll may hold the player control
// last, on a worker, while the program ends.
std::shared_ptr<MprisPlayerRegistry> sessionPlayers() {
    static std::weak_ptr<MprisPlayerRegistry> shared;
    std::shared_ptr<MprisPlayerRegistry> registry = shared.lock();
    if (!registry) {
        registry = std::shared_ptr<MprisPlayerRegistry>(
            new MprisPlayerRegistry(PlayerBus::session()), [](MprisPlayerRegistry* gone) {
                if (QThread::currentThread() == gone->thread()) {
                    delete gone;
                } else {
                    gone->deleteLater();
                }
            });
        shared = registry;
    }
    return registry;
}

// A player control together with the registry it reads, which it outlives by nothing.
struct SessionPlayerControl {
    explicit SessionPlayerControl(std::shared_ptr<MprisPlayerRegistry> players)
        : registry(std::move(players))
        , control(*registry) {}

    std::shared_ptr<MprisPlayerRegistry> registry;
    MprisPlayerControl control;
};

// Holds the registry for the running apps it is a child of, so that it is let go only after
// they are gone.
class RegistryHold : public QObject {
public:
    RegistryHold(std::shared_ptr<MprisPlayerRegistry> registry, QObject* parent)
        : QObject(parent)
        , m_registry(std::move(registry)) {}

private:
    std::shared_ptr<MprisPlayerRegistry> m_registry;
};

} // namespace

namespace Platform {

std::unique_ptr<QSettings> openSettingsStore() {
    const QString path = QStandardPaths::writableLocation(QStandardPaths::GenericConfigLocation) +
                         QStringLiteral("/Scrubline/Scrubline.conf");
    return openIniSettings(path);
}

std::unique_ptr<LoginItem> createLoginItem() {
    // An AppImage runs from a temporary mount; the image itself is what has to start at login.
    const QString appImage = qEnvironmentVariable("APPIMAGE");
    if (!appImage.isEmpty()) {
        return std::make_unique<XdgAutostartLoginItem>(appImage);
    }
    // Installed, the program lies in libexec and is started by the `scrubline` command, the
    // name that stays when a later version lays its files out otherwise.
    const QString program = QCoreApplication::applicationFilePath();
    const std::string command = ProgramLayout::commandFor(program.toStdString());
    return std::make_unique<XdgAutostartLoginItem>(
        command.empty() ? program : QString::fromStdString(command));
}

PlatformProfile profile() {
    return {
        // Apple Music and Safari do not run here; every MPRIS player stands for one of these.
        .mediaApps = {MediaApp::spotify, MediaApp::chromiumYouTube, MediaApp::firefox,
                      MediaApp::otherPlayers},
        // Every Chromium-based browser publishes every page that plays, YouTube or not.
        .browserNaming = MediaApp::BrowserNaming::byBrowser,
        .modifierStyle = KeyTable::ModifierStyle::words,
        .toolkitSwapsControlAndCommand = false,
    };
}

QList<PermissionItem> permissionItems() {
    // Every player here is reached over MPRIS, and all a player needs is to answer there.
    return PermissionItem::forApps(profile().mediaApps, QStringLiteral("MPRIS over D-Bus"),
                                   profile().browserNaming);
}

std::shared_ptr<PlayerControl> createPlayerControl() {
    auto both = std::make_shared<SessionPlayerControl>(sessionPlayers());
    return std::shared_ptr<PlayerControl>(both, &both->control);
}

std::unique_ptr<RunningApps> createRunningApps() {
    std::shared_ptr<MprisPlayerRegistry> registry = sessionPlayers();
    auto running = std::make_unique<MprisRunningApps>(*registry);
    new RegistryHold(std::move(registry), running.get());
    return running;
}

std::unique_ptr<HotkeyService> createHotkeyService() {
    // Under Wayland an X11 grab through XWayland fires only while an X window has the focus,
    // which is no global hotkey at all: there the desktop portal hands out shortcuts.
    if (QGuiApplication::platformName() == QStringLiteral("wayland")) {
        return std::make_unique<PortalHotkeyService>(QDBusConnection::sessionBus());
    }
    return std::make_unique<X11HotkeyService>(profile().modifierStyle);
}

bool accessibilityTrusted() {
    // Any X11 client may grab keys on the root window.
    return displayProblem().isEmpty() && !qEnvironmentVariableIsSet("WAYLAND_DISPLAY");
}

QString displayProblem() {
    const QByteArray platform = qgetenv("QT_QPA_PLATFORM");
    if (!platform.isEmpty() && !platform.startsWith("xcb")) {
        return {}; // offscreen, wayland, vnc...: the toolkit reports its own problems
    }
    const QByteArray display = qgetenv("DISPLAY");
    if (display.isEmpty()) {
        if (platform.isEmpty() && qEnvironmentVariableIsSet("WAYLAND_DISPLAY")) {
            return {};
        }
        return QStringLiteral("no display: DISPLAY is not set (Scrubline needs an X11 or "
                              "Wayland session)");
    }
    xcb_connection_t* connection = xcb_connect(display.constData(), nullptr);
    const int error = xcb_connection_has_error(connection);
    xcb_disconnect(connection);
    if (error != 0) {
        return QStringLiteral("cannot open display \"%1\" (is an X server running and may "
                              "this user connect to it?)")
            .arg(QString::fromLocal8Bit(display));
    }
    return {};
}

std::unique_ptr<SymbolImages> createSymbolImages() {
    return std::make_unique<NoSymbolImages>();
}

std::unique_ptr<DesktopIntegration> createDesktopIntegration() {
    return std::make_unique<LinuxDesktopIntegration>();
}

std::unique_ptr<SingleInstance> createSingleInstance() {
    return std::make_unique<BusSingleInstance>();
}

std::unique_ptr<TrayAvailability> createTrayAvailability() {
    return std::make_unique<LinuxTrayAvailability>(
        QDBusConnection::sessionBus(), QGuiApplication::platformName() == QStringLiteral("xcb"));
}

} // namespace Platform
