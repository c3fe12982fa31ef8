#pragma once

#include "HotkeyHold.h"
#include "platform/HotkeyService.h"

#include <QHash>
#include <QObject>
#include <QSet>
#include <QTimer>
#include <QUuid>

#include <cstdint>
#include <map>
#include <memory>
#include <vector>

class AppSettings;
class OverlayManager;
class MediaController;
class PlayerControl;

// Starts and stops the program's machinery around the event loop, and turns the user's seek
// actions into system-wide hotkeys whose presses become requests to the media controller.
// Lives on the GUI thread.
class AppDelegate : public QObject {
    Q_OBJECT

public:
    // The owner signature of every hotkey: the four characters "SCR1".
    static constexpr std::uint32_t hotkeySignature = 0x53435231;
    // How long the hotkeys wait after the settings store saved a changed action list, so that
    // a burst of edits re-registers once.
    static constexpr int hotkeyDebounceMs = 500;

    // `players` is what the scripts are warmed through; `overlay`, when given, is started at
    // launch.
    AppDelegate(std::unique_ptr<HotkeyService> hotkeys, std::shared_ptr<PlayerControl> players,
                AppSettings& settings, MediaController& mediaController,
                OverlayManager* overlay = nullptr, QObject* parent = nullptr);
    ~AppDelegate() override;

    // The hotkey id to signed seconds of the actions last registered, shared by the process.
    // Forward is positive, backward negative, play/pause exactly 0.
    static const std::map<std::uint32_t, double>& hotkeySecondsMap();

    void applicationDidFinishLaunching();
    void applicationWillTerminate();

    // Rebuilds the table and every registration from the settings' action list.
    void registerAllHotkeys();
    // Drops every registration; the table stays until the next rebuild.
    void unregisterAllHotkeys();
    // Re-registers and warms the script cache once the list has stopped changing.
    void seekActionsChanged();
    // Builds every script a hotkey can run, on a utility thread.
    void precompileScripts();

    // The hold of the hotkey down now, or of the last one.
    const HotkeyHold& hotkeyHold() const { return m_hold; }

    // How many hotkeys are registered now.
    qsizetype registeredHotkeyCount() const { return qsizetype(m_hotKeyRefs.size()); }

    // How presses reach the program, where the platform names it: empty before launch, and
    // while the session gives no global hotkeys.
    QString hotkeyMechanism() const;

    // The triggers the desktop gave actions in place of their own combinations, by action id;
    // empty wherever the program has the keys itself.
    const QHash<QUuid, QString>& assignedTriggers() const { return m_assignedTriggers; }

    // The actions whose combination another program held at the last registration.
    const QSet<QUuid>& unavailableActionIDs() const { return m_unavailableActionIDs; }

    // While a hotkey recorder records, every grab is let go, so that pressing a combination
    // that is already a hotkey records it instead of seeking; lifting the suspension registers
    // the current list again.
    void setHotkeysSuspended(bool suspended);
    bool hotkeysSuspended() const { return m_suspended; }

signals:
    // The set of actions another program keeps from registering has changed.
    void unavailableActionIDsChanged(const QSet<QUuid>& ids);
    // The session gives no global hotkeys: none could be had at launch, or the desktop said it
    // has none to give.
    void hotkeysUnavailable();
    // The desktop has given other triggers than asked for, or stopped doing so.
    void assignedTriggersChanged(const QHash<QUuid, QString>& triggers);
    // What hotkeyMechanism() says has changed, as when the desktop has bound the shortcuts.
    void hotkeyMechanismChanged(const QString& mechanism);
    // The scripts asked for by one precompileScripts() call are built.
    void scriptsPrecompiled();

private:
    void hotkeyEvent(std::uint32_t id, HotkeyService::KeyEvent event);
    void readAssignedTriggers();

    std::unique_ptr<HotkeyService> m_hotkeys;
    std::shared_ptr<PlayerControl> m_players;
    AppSettings& m_settings;
    MediaController& m_mediaController;
    OverlayManager* m_overlay;
    std::vector<HotkeyService::Handle> m_hotKeyRefs;
    bool m_eventHandlerInstalled = false;
    bool m_suspended = false;
    QSet<QUuid> m_unavailableActionIDs;
    QHash<QUuid, QString> m_assignedTriggers;
    QString m_mechanism;
    // The action under each hotkey id of the last registration.
    QHash<std::uint32_t, QUuid> m_actionIDs;
    // The pending re-registration; stopping it cancels it.
    QTimer m_hotkeyDebounce;
    // What a hotkey held down does between its press and its release.
    HotkeyHold m_hold;
};
