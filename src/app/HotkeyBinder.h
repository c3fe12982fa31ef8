#pragma once

#include "models/KeyTable.h"
#include "platform/HotkeyService.h"

#include <QHash>
#include <QObject>
#include <QSet>
#include <QString>
#include <QUuid>

#include <cstdint>

class AppSettings;
class HotkeyHold;

// Turns the user's seek actions into the hotkey service's bindings, binds them again each time
// the settings have saved a changed list, and hands presses and releases to the hold. Tells the
// views which actions cannot have their keys, which triggers the desktop gave instead, and by
// what means presses arrive. Lives on the GUI thread.
class HotkeyBinder : public QObject {
    Q_OBJECT

public:
    // `style`: how the log writes a combination, as the rest of the program shows it.
    HotkeyBinder(HotkeyService& hotkeys, AppSettings& settings, HotkeyHold& hold,
                 KeyTable::ModifierStyle style, QObject* parent = nullptr);
    ~HotkeyBinder() override;
    HotkeyBinder(const HotkeyBinder&) = delete;
    HotkeyBinder& operator=(const HotkeyBinder&) = delete;

    // Starts listening and binds the actions; says hotkeysUnavailable where the session gives
    // no global hotkeys.
    void start();
    // Lets every hotkey go and stops following the settings, for the end of the program.
    void stop();

    // How presses reach the program, where the platform names it: empty before start, and
    // while the session gives no global hotkeys.
    const QString& mechanism() const { return m_mechanism; }
    // The triggers the desktop gave actions in place of their own combinations, by action id;
    // empty wherever the program has the keys itself.
    const QHash<QUuid, QString>& assignedTriggers() const { return m_assignedTriggers; }
    // The actions whose keys could not be had at the last binding.
    const QSet<QUuid>& unavailableActionIDs() const { return m_unavailableActionIDs; }

    // While a hotkey recorder records, every hotkey is let go, so that pressing a combination
    // that is already a hotkey records it instead of seeking; lifting the suspension binds the
    // current list again. What the views were told stays as it was meanwhile.
    void setSuspended(bool suspended);

signals:
    void unavailableActionIDsChanged(const QSet<QUuid>& ids);
    // The session gives no global hotkeys: none could be had at start, or the desktop said it
    // has none to give.
    void hotkeysUnavailable();
    void assignedTriggersChanged(const QHash<QUuid, QString>& triggers);
    void mechanismChanged(const QString& mechanism);

private:
    // What a press of a bound id does.
    struct Entry {
        // The hold tells hotkeys apart by a number: the action's place in the list, from 1.
        std::uint32_t number = 0;
        double seconds = 0;
        QUuid action;
    };

    void bindActions();
    void takeResults(const HotkeyService::Results& results);
    void keyPressed(const QString& id);
    void keyReleased(const QString& id);
    void setMechanism(const QString& mechanism);

    HotkeyService& m_hotkeys;
    AppSettings& m_settings;
    HotkeyHold& m_hold;
    KeyTable::ModifierStyle m_style;
    bool m_started = false;
    bool m_suspended = false;
    // By binding id, every action of the list, bound or not.
    QHash<QString, Entry> m_entries;
    // The actions whose keys no hotkey can be made of, which the service never sees.
    QSet<QUuid> m_unbindable;
    QSet<QUuid> m_unavailableActionIDs;
    QHash<QUuid, QString> m_assignedTriggers;
    QString m_mechanism;
};
