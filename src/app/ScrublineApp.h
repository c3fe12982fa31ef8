#pragma once

#include "core/MediaController.h"
#include "platform/PlatformProfile.h"

#include <QObject>

#include <memory>

class AppSettings;
class DesktopIntegration;
class HotkeyBinder;
class HotkeyHold;
class HotkeyService;
class HotkeysSettingsTab;
class OverlayManager;
class MediaStatus;
class TrayIcon;
class PlayerControl;
class SettingsView;
class SingleInstance;
class SymbolImages;
class SettingsWindowController;
class TrayAvailability;

// The running program and the one place that builds it: every long-lived object is made here,
// in the order written in the constructor, and handed what it uses. Nothing below asks the
// platform for a facility of its own; what the launch needs before the program exists is
// asked here as well (the media side alone is made by MediaStack, for the command line too).
class ScrublineApp : public QObject {
    Q_OBJECT

public:
    explicit ScrublineApp(QObject* parent = nullptr);
    ~ScrublineApp() override;

    // Before the program is made: why no graphical session can be used (empty when one can),
    // and the way to this session's running copy.
    static QString displayProblem();
    static std::unique_ptr<SingleInstance> openSingleInstance();

    // Requests of a later launch or the command line, handed on by the single instance.
    // The icon back on, then the panel, or the settings window where no tray shows it.
    void reopen();
    void showSettings();
    // Through the hotkeys' queue, with their feedback; `whenServed` hears how it went.
    void seek(double seconds, MediaController::WhenServed whenServed);

private:
    // A settings window with every tab, made anew each time it opens.
    SettingsView* makeSettingsView();
    // The Hotkeys tab, tied to the hotkeys it edits and to the seek queue its Test buttons use.
    HotkeysSettingsTab* makeHotkeysTab();
    // The hotkeys bound, the overlay following the status, the players ready for a first press.
    void startUp();

    // Declared in the order they are made, so they go in the reverse one.
    PlatformProfile m_profile;
    // Declared before the views that draw with them, so that it outlives them.
    std::unique_ptr<SymbolImages> m_symbolImages;
    std::unique_ptr<AppSettings> m_settings;
    std::shared_ptr<PlayerControl> m_players;
    std::unique_ptr<MediaStatus> m_mediaStatus;
    std::unique_ptr<MediaController> m_mediaController;
    std::unique_ptr<DesktopIntegration> m_desktop;
    std::unique_ptr<OverlayManager> m_overlay;
    std::unique_ptr<SettingsWindowController> m_settingsWindow;
    std::unique_ptr<TrayAvailability> m_tray;
    std::unique_ptr<TrayIcon> m_trayIcon;
    std::unique_ptr<HotkeyService> m_hotkeys;
    std::unique_ptr<HotkeyHold> m_hotkeyHold;
    std::unique_ptr<HotkeyBinder> m_hotkeyBinder;
};
