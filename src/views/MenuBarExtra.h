#pragma once

#include <QMenu>
#include <QObject>
#include <QSystemTrayIcon>

#include <memory>

class AppSettings;
class MediaStatus;
class MenuBarWindow;

// The program's place in the system tray: the icon, its pop-up panel on a click and a menu
// with "Quit" on a right click. The icon follows the "showMenuBarIcon" setting live; the
// hotkeys do not depend on it.
class MenuBarExtra : public QObject {
    Q_OBJECT

public:
    // A click that lands this soon after the panel closed is the click that closed it.
    static constexpr int reopenGuardMs = 250;

    // `hotkeysHint` names the preset hotkeys' modifiers for the welcome content.
    MenuBarExtra(MediaStatus& status, AppSettings& settings, const QString& hotkeysHint,
                 QObject* parent = nullptr);
    ~MenuBarExtra() override;

    QSystemTrayIcon& trayIcon() { return m_trayIcon; }
    MenuBarWindow& window() { return *m_window; }
    // A note the panel shows until it has been seen once; see MenuBarView::setNoticeOnce.
    void showNoticeOnce(const QString& seenKey, const QString& text);

    // Opens the panel at the icon, or at the pointer where the tray does not say where the
    // icon is; closes it when it is open.
    void togglePanel();

signals:
    // "Settings..." was chosen.
    void settingsRequested();
    // A seek button of the panel was pressed.
    void seekRequested(double seconds);

private:
    void followIconSetting();

    AppSettings& m_settings;
    QMenu m_contextMenu;
    QSystemTrayIcon m_trayIcon;
    std::unique_ptr<MenuBarWindow> m_window;
};
