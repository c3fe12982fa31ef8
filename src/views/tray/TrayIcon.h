#pragma once

#include "models/MediaApp.h"

#include <QMenu>
#include <QObject>
#include <QSystemTrayIcon>

#include <memory>

class AppSettings;
class DesktopIntegration;
class MediaStatus;
class SymbolImages;
class TrayPanelWindow;
class TrayAvailability;

// The program's place in the system tray: the icon, its pop-up panel on a click and a menu
// with "Quit" on a right click. The icon follows the "showMenuBarIcon" setting live; the
// hotkeys do not depend on it.
//
// The icon is made only once a tray runs and the setting wants it: the toolkit decides on the
// first icon made (or on the first question whether a tray is available) which kind of tray
// it talks to, StatusNotifierItem or XEmbed, and keeps that answer for the life of the
// process. An icon made before the desktop's panel started would never reach it.
class TrayIcon : public QObject {
    Q_OBJECT

public:
    // A click that lands this soon after the panel closed is the click that closed it.
    static constexpr int reopenGuardMs = 250;

    // `desktop` names the preset hotkeys' modifiers for the welcome content, and tells what
    // kind of window the panel can be.
    // `naming`: how the panel names the apps. `symbolImages`, when given, are the platform's
    // drawings of the icon and the panel's symbols; they outlive the icon.
    TrayIcon(MediaStatus& status, AppSettings& settings, TrayAvailability& tray,
             const DesktopIntegration& desktop, MediaApp::BrowserNaming naming,
             const SymbolImages* symbolImages = nullptr, QObject* parent = nullptr);
    ~TrayIcon() override;

    // The icon, once a tray has been there while the setting wanted it; null before.
    QSystemTrayIcon* trayIcon() const { return m_trayIcon.get(); }
    // The menu of the icon's right click.
    QMenu& contextMenu() { return m_contextMenu; }
    TrayPanelWindow& window() { return *m_window; }
    // A note the panel shows until it has been seen once; see TrayPanelView::setNoticeOnce.
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
    void makeTrayIcon();

    AppSettings& m_settings;
    TrayAvailability& m_tray;
    const SymbolImages* m_symbolImages;
    QMenu m_contextMenu;
    std::unique_ptr<QSystemTrayIcon> m_trayIcon;
    std::unique_ptr<TrayPanelWindow> m_window;
};
