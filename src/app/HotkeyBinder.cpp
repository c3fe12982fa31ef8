#include "HotkeyBinder.h"

#include "HotkeyHold.h"
#include "models/KeyTable.h"
#include "settings/AppSettings.h"
#include "utilities/Logger.h"

#include <QPointer>

HotkeyBinder::HotkeyBinder(HotkeyService& hotkeys, AppSettings& settings, HotkeyHold& hold,
                           KeyTable::ModifierStyle style, QObject* parent)
    : QObject(parent)
    , m_hotkeys(hotkeys)
    , m_settings(settings)
    , m_hold(hold)
    , m_style(style) {
    // Queued: the service calls from its event dispatch, which should look up, hand on and
    // return, and may be in the middle of a binding that a press could replace.
    connect(&m_hotkeys, &HotkeyService::pressed, this, &HotkeyBinder::keyPressed,
            Qt::QueuedConnection);
    connect(&m_hotkeys, &HotkeyService::released, this, &HotkeyBinder::keyReleased,
            Qt::QueuedConnection);
    connect(&m_hotkeys, &HotkeyService::resultsChanged, this, &HotkeyBinder::takeResults);
    connect(&m_hotkeys, &HotkeyService::mechanismChanged, this, [this](const QString& mechanism) {
        if (m_started) {
            setMechanism(mechanism);
        }
    });
    connect(&m_hotkeys, &HotkeyService::unavailable, this, &HotkeyBinder::hotkeysUnavailable);
}

HotkeyBinder::~HotkeyBinder() {
    stop();
}

void HotkeyBinder::start() {
    if (m_started) {
        return;
    }
    m_started = m_hotkeys.start();
    if (!m_started) {
        emit hotkeysUnavailable();
        return;
    }
    setMechanism(m_hotkeys.mechanism());
    bindActions();
    // The settings wait for a burst of edits to end before they save and call this, so the
    // hotkeys are bound again once per burst.
    m_settings.setOnSeekActionsChanged([self = QPointer<HotkeyBinder>(this)] {
        if (self) {
            self->bindActions();
        }
    });
}

void HotkeyBinder::stop() {
    if (!m_started) {
        return;
    }
    m_started = false;
    m_settings.setOnSeekActionsChanged(nullptr);
    // A hotkey down now will not be heard coming up.
    m_hold.cancel();
    m_hotkeys.stop();
}

void HotkeyBinder::setSuspended(bool suspended) {
    if (suspended == m_suspended) {
        return;
    }
    m_suspended = suspended;
    bindActions();
}

void HotkeyBinder::bindActions() {
    if (!m_started) {
        return;
    }
    // A hotkey down now may no longer be heard coming up.
    m_hold.cancel();
    m_entries.clear();
    m_unbindable.clear();
    HotkeyBindings bindings;
    const QList<SeekAction>& actions = m_settings.seekActions();
    for (qsizetype i = 0; i < actions.size(); ++i) {
        const SeekAction& action = actions[i];
        const QString id = uuidString(action.id());
        m_entries.insert(id,
                         {static_cast<std::uint32_t>(i + 1), action.signedSeconds(), action.id()});
        if (m_suspended) {
            continue;
        }
        // A global hotkey takes its key from every other program: a bare key (a fresh action
        // not yet recorded, or one set in the file by hand) would swallow a plain letter
        // system-wide, so it waits for a combination with a modifier.
        if (action.carbonModifiers == 0) {
            qCInfo(Log::general(), "Hotkey %s has no modifier key and is not registered",
                   qPrintable(
                       KeyTable::displayString(action.keyCode, action.carbonModifiers, m_style)));
            continue;
        }
        const auto keys = KeyTable::toKeyCombination({action.keyCode, action.carbonModifiers});
        if (!keys) {
            m_unbindable.insert(action.id());
            continue;
        }
        bindings.append({id, *keys, action.label()});
    }
    m_hotkeys.bind(bindings);
}

void HotkeyBinder::takeResults(const HotkeyService::Results& results) {
    // What the views were told stays while the recorder has every hotkey let go.
    if (m_suspended || !m_started) {
        return;
    }
    QSet<QUuid> unavailable = m_unbindable;
    QHash<QUuid, QString> triggers;
    for (auto result = results.cbegin(); result != results.cend(); ++result) {
        const auto entry = m_entries.constFind(result.key());
        if (entry == m_entries.cend()) {
            continue; // a binding of a list since replaced
        }
        if (result->status == HotkeyService::Status::taken) {
            unavailable.insert(entry->action);
        } else if (result->status == HotkeyService::Status::reassigned) {
            triggers.insert(entry->action, result->trigger);
        }
    }
    if (unavailable != m_unavailableActionIDs) {
        m_unavailableActionIDs = unavailable;
        emit unavailableActionIDsChanged(m_unavailableActionIDs);
    }
    if (triggers != m_assignedTriggers) {
        m_assignedTriggers = triggers;
        emit assignedTriggersChanged(m_assignedTriggers);
    }
}

void HotkeyBinder::keyPressed(const QString& id) {
    const auto entry = m_entries.constFind(id);
    if (!m_started || entry == m_entries.cend()) {
        return; // a press from before the last binding
    }
    // Play/pause never repeats: held, it would toggle back and forth.
    const bool repeats = entry->seconds != 0 && m_settings.holdToSeek();
    m_hold.press(entry->number, entry->seconds, repeats);
}

void HotkeyBinder::keyReleased(const QString& id) {
    if (const auto entry = m_entries.constFind(id); entry != m_entries.cend()) {
        m_hold.release(entry->number);
    }
}

void HotkeyBinder::setMechanism(const QString& mechanism) {
    if (mechanism != m_mechanism) {
        m_mechanism = mechanism;
        emit mechanismChanged(m_mechanism);
    }
}
