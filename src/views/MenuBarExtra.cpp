#include "MenuBarExtra.h"

#include "MenuBarView.h"
#include "MenuBarWindow.h"
#include "Style.h"
#include "Symbols.h"
#include "settings/AppSettings.h"

#include <QApplication>
#include <QCursor>

MenuBarExtra::MenuBarExtra(MediaStatus& status, AppSettings& settings, const QString& hotkeysHint,
                           QObject* parent)
    : QObject(parent)
    , m_settings(settings) {
    auto* view = new MenuBarView(status, settings, hotkeysHint);
    connect(view, &MenuBarView::seekRequested, this, &MenuBarExtra::seekRequested);
    m_window = std::make_unique<MenuBarWindow>(view);
    connect(view, &MenuBarView::settingsRequested, this, [this] {
        m_window->close();
        emit settingsRequested();
    });
    connect(view, &MenuBarView::quitRequested, qApp, &QCoreApplication::quit, Qt::QueuedConnection);

    m_contextMenu.addAction(QStringLiteral("Quit"), qApp, &QCoreApplication::quit);
    m_trayIcon.setIcon(
        Symbols::icon(QStringLiteral("goforward.10"), Style::primary(QApplication::palette())));
    m_trayIcon.setToolTip(QStringLiteral("Scrubline"));
    m_trayIcon.setContextMenu(&m_contextMenu);
    connect(&m_trayIcon, &QSystemTrayIcon::activated, this,
            [this](QSystemTrayIcon::ActivationReason reason) {
                if (reason == QSystemTrayIcon::Trigger) {
                    togglePanel();
                }
            });
    connect(&m_settings.defaults(), &UserDefaults::written, this, [this](const QString& key) {
        if (key == AppSettings::Keys::showMenuBarIcon) {
            followIconSetting();
        }
    });
    followIconSetting();
}

MenuBarExtra::~MenuBarExtra() = default;

void MenuBarExtra::showNoticeOnce(const QString& seenKey, const QString& text) {
    m_window->view()->setNoticeOnce(seenKey, text);
}

void MenuBarExtra::togglePanel() {
    if (m_window->isVisible()) {
        m_window->close();
        return;
    }
    if (m_window->sinceClosed().isValid() && !m_window->sinceClosed().hasExpired(reopenGuardMs)) {
        return;
    }
    // Without a tray the icon's last place is stale.
    const QRect icon = QSystemTrayIcon::isSystemTrayAvailable() ? m_trayIcon.geometry() : QRect();
    m_window->openAt(icon.isValid() && !icon.isEmpty() ? icon : QRect(QCursor::pos(), QSize(1, 1)));
}

void MenuBarExtra::followIconSetting() {
    const bool show =
        m_settings.defaults().boolValue(AppSettings::Keys::showMenuBarIcon).value_or(true);
    m_trayIcon.setVisible(show);
    if (!show) {
        m_window->close();
    }
}
