#include "views/tray/TrayIcon.h"

#include "platform/DesktopIntegration.h"
#include "platform/TrayAvailability.h"
#include "settings/AppSettings.h"
#include "views/tray/TrayPanelView.h"
#include "views/tray/TrayPanelWindow.h"
#include "views/widgets/Style.h"
#include "views/widgets/Symbols.h"

#include <QApplication>
#include <QCursor>

TrayIcon::TrayIcon(MediaStatus& status, AppSettings& settings, TrayAvailability& tray,
                   const DesktopIntegration& desktop, MediaApp::BrowserNaming naming,
                   const SymbolImages* symbolImages, QObject* parent)
    : QObject(parent)
    , m_settings(settings)
    , m_tray(tray)
    , m_symbolImages(symbolImages) {
    auto* view =
        new TrayPanelView(status, settings, desktop.defaultHotkeysHint(), naming, m_symbolImages);
    connect(view, &TrayPanelView::seekRequested, this, &TrayIcon::seekRequested);
    m_window = std::make_unique<TrayPanelWindow>(view, desktop.placesOwnWindows()
                                                           ? TrayPanelWindow::Kind::popup
                                                           : TrayPanelWindow::Kind::window);
    connect(view, &TrayPanelView::settingsRequested, this, [this] {
        m_window->close();
        emit settingsRequested();
    });
    connect(view, &TrayPanelView::quitRequested, qApp, &QCoreApplication::quit,
            Qt::QueuedConnection);

    m_contextMenu.addAction(QStringLiteral("Quit"), qApp, &QCoreApplication::quit);
    connect(&m_settings.defaults(), &SettingsStore::written, this, [this](const QString& key) {
        if (key == AppSettings::Keys::showMenuBarIcon) {
            followIconSetting();
        }
    });
    connect(&m_tray, &TrayAvailability::stateChanged, this, &TrayIcon::followIconSetting);
    followIconSetting();
}

TrayIcon::~TrayIcon() = default;

void TrayIcon::showNoticeOnce(const QString& seenKey, const QString& text) {
    m_window->view()->setNoticeOnce(seenKey, text);
}

void TrayIcon::togglePanel() {
    if (m_window->isVisible()) {
        m_window->close();
        return;
    }
    if (m_window->sinceClosed().isValid() && !m_window->sinceClosed().hasExpired(reopenGuardMs)) {
        return;
    }
    // Without a tray the icon's last place is stale. A StatusNotifierItem host does not say
    // where the icon is, and the toolkit does not pass on where the click was.
    const QRect icon = m_trayIcon && m_tray.isAvailable() ? m_trayIcon->geometry() : QRect();
    m_window->openAt(icon.isValid() && !icon.isEmpty() ? icon : QRect(QCursor::pos(), QSize(1, 1)));
}

void TrayIcon::followIconSetting() {
    const bool show =
        m_settings.defaults().boolValue(AppSettings::Keys::showMenuBarIcon).value_or(true);
    if (show && !m_trayIcon && m_tray.isAvailable()) {
        makeTrayIcon();
    }
    // Once made, the icon stays: the toolkit docks it again by itself when a tray restarts, and
    // tells a StatusNotifierItem watcher that restarts about it.
    if (m_trayIcon) {
        m_trayIcon->setVisible(show);
    }
    if (!show) {
        m_window->close();
    }
}

void TrayIcon::makeTrayIcon() {
    // Where the toolkit chose an XEmbed tray (the only one there was) and a StatusNotifierItem
    // host starts later, the icon stays in the XEmbed tray and no second one is made: the
    // toolkit cannot move it, and desktops that run both kinds (Xfce, Plasma's bridge of
    // XEmbed icons) would otherwise show it twice.
    m_trayIcon = std::make_unique<QSystemTrayIcon>();
    m_trayIcon->setIcon(Symbols::icon(QStringLiteral("goforward.10"),
                                      Style::primary(QApplication::palette()), m_symbolImages));
    m_trayIcon->setToolTip(QStringLiteral("Scrubline"));
    m_trayIcon->setContextMenu(&m_contextMenu);
    connect(m_trayIcon.get(), &QSystemTrayIcon::activated, this,
            [this](QSystemTrayIcon::ActivationReason reason) {
                if (reason == QSystemTrayIcon::Trigger) {
                    togglePanel();
                }
            });
}
