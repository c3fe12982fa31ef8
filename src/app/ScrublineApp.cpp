#include "ScrublineApp.h"

#include "AppDelegate.h"
#include "models/AppSettings.h"
#include "platform/Platform.h"
#include "services/MediaController.h"
#include "utilities/Logger.h"
#include "views/AlertBox.h"
#include "views/HUDOverlayManager.h"
#include "views/MenuBarExtra.h"

#include <QApplication>
#include <QSystemTrayIcon>

ScrublineApp::ScrublineApp(QObject* parent)
    : QObject(parent) {
    // Loaded now rather than on first use, so a damaged settings file is reported at start.
    AppSettings::shared();
    // Made now so that it follows the players from the start.
    MediaController::shared();
    AlertBox::install();

    if (!QSystemTrayIcon::isSystemTrayAvailable()) {
        // The toolkit adds the icon by itself once a tray appears.
        qCWarning(Log::general(), "No system tray is running; the icon appears when one starts");
    }
    m_menuBarExtra =
        std::make_unique<MenuBarExtra>(MediaController::shared(), AppSettings::shared());
    m_appDelegate = std::make_unique<AppDelegate>(
        Platform::createHotkeyService(), Platform::createPlayerControl(), AppSettings::shared(),
        MediaController::shared(), &HUDOverlayManager::shared());
    m_appDelegate->applicationDidFinishLaunching();
    connect(qApp, &QCoreApplication::aboutToQuit, m_appDelegate.get(),
            &AppDelegate::applicationWillTerminate);
}

ScrublineApp::~ScrublineApp() = default;
