#include "ScrublineApp.h"

#include "AppDelegate.h"
#include "models/AppSettings.h"
#include "platform/Platform.h"
#include "services/MediaController.h"
#include "utilities/Logger.h"
#include "views/AlertBox.h"
#include "views/Symbols.h"

#include <QApplication>

ScrublineApp::ScrublineApp(QObject* parent)
    : QObject(parent) {
    // Loaded now rather than on first use, so a damaged settings file is reported at start.
    AppSettings::shared();
    // Made now so that it follows the players from the start.
    MediaController::shared();
    AlertBox::install();

    m_menu.addAction(QStringLiteral("Quit"), qApp, &QCoreApplication::quit);
    m_trayIcon.setIcon(Symbols::icon(QStringLiteral("goforward.10")));
    m_trayIcon.setToolTip(QStringLiteral("Scrubline"));
    m_trayIcon.setContextMenu(&m_menu);
    if (!QSystemTrayIcon::isSystemTrayAvailable()) {
        // The toolkit adds the icon by itself once a tray appears.
        qCWarning(Log::general(), "No system tray is running; the icon appears when one starts");
    }
    m_trayIcon.show();

    m_appDelegate = std::make_unique<AppDelegate>(Platform::createHotkeyService(),
                                                  Platform::createPlayerControl(),
                                                  AppSettings::shared(), MediaController::shared());
    m_appDelegate->applicationDidFinishLaunching();
    connect(qApp, &QCoreApplication::aboutToQuit, m_appDelegate.get(),
            &AppDelegate::applicationWillTerminate);
}

ScrublineApp::~ScrublineApp() = default;
