#include "AppDelegate.h"

#include "core/MediaController.h"
#include "models/KeyTable.h"
#include "platform/PlayerControl.h"
#include "settings/AppSettings.h"
#include "utilities/ConcurrentQueue.h"
#include "utilities/Logger.h"
#include "utilities/MainThread.h"
#include "views/overlay/OverlayManager.h"

#include <QPointer>

#include <algorithm>
#include <limits>

namespace {

// Touched only on the GUI thread.
std::map<std::uint32_t, double> g_hotkeySecondsMap;

} // namespace

AppDelegate::AppDelegate(std::unique_ptr<HotkeyService> hotkeys,
                         std::shared_ptr<PlayerControl> players, AppSettings& settings,
                         MediaController& mediaController, OverlayManager* overlay, QObject* parent)
    : QObject(parent)
    , m_hotkeys(std::move(hotkeys))
    , m_players(std::move(players))
    , m_settings(settings)
    , m_mediaController(mediaController)
    , m_overlay(overlay)
    , m_hold(mediaController) {
    m_hotkeyDebounce.setSingleShot(true);
    m_hotkeyDebounce.setInterval(hotkeyDebounceMs);
    m_hotkeyDebounce.setTimerType(Qt::PreciseTimer);
    connect(&m_hotkeyDebounce, &QTimer::timeout, this, [this] {
        registerAllHotkeys();
        precompileScripts();
    });
}

AppDelegate::~AppDelegate() {
    applicationWillTerminate();
}

const std::map<std::uint32_t, double>& AppDelegate::hotkeySecondsMap() {
    return g_hotkeySecondsMap;
}

void AppDelegate::applicationDidFinishLaunching() {
    m_eventHandlerInstalled = m_hotkeys->installHandler(
        [this](std::uint32_t id, HotkeyService::KeyEvent event) { hotkeyEvent(id, event); });
    m_hotkeys->setTriggersHandler([self = QPointer<AppDelegate>(this)] {
        if (self) {
            self->readAssignedTriggers();
        }
    });
    registerAllHotkeys();
    precompileScripts();
    if (!m_eventHandlerInstalled) {
        emit hotkeysUnavailable();
    }
    if (m_overlay) {
        m_overlay->start();
    }
    m_settings.setOnSeekActionsChanged([self = QPointer<AppDelegate>(this)] {
        if (self) {
            self->seekActionsChanged();
        }
    });
}

void AppDelegate::applicationWillTerminate() {
    m_hotkeyDebounce.stop();
    m_settings.setOnSeekActionsChanged(nullptr);
    m_hotkeys->setTriggersHandler(nullptr);
    unregisterAllHotkeys();
    if (m_eventHandlerInstalled) {
        m_hotkeys->removeHandler();
        m_eventHandlerInstalled = false;
    }
}

void AppDelegate::registerAllHotkeys() {
    unregisterAllHotkeys();
    g_hotkeySecondsMap.clear();
    const QList<SeekAction>& actions = m_settings.seekActions();
    if (actions.size() > qsizetype(std::numeric_limits<std::uint32_t>::max())) {
        qFatal("More seek actions than hotkey ids");
    }
    QSet<QUuid> unavailable;
    m_actionIDs.clear();
    // The combinations this pass holds: a system that refuses the same combination twice to
    // one program (Carbon does) is not another program holding it.
    QSet<std::pair<std::uint16_t, std::uint32_t>> held;
    for (qsizetype i = 0; i < actions.size(); ++i) {
        const SeekAction& action = actions[i];
        const auto id = static_cast<std::uint32_t>(i + 1);
        // In the table even when the registration fails, like every other action.
        g_hotkeySecondsMap[id] = action.signedSeconds();
        m_actionIDs.insert(id, action.id());
        if (m_suspended) {
            continue;
        }
        // A global grab takes its key from every other program: a bare key (a fresh action
        // not yet recorded, or one set in the file by hand) would swallow a plain letter
        // system-wide, so it waits for a combination with a modifier.
        if (action.carbonModifiers == 0) {
            qCInfo(Log::general(), "Hotkey %s has no modifier key and is not registered",
                   qPrintable(KeyTable::displayString(action.keyCode, action.carbonModifiers)));
            continue;
        }
        m_hotkeys->describeHotkey(id, uuidString(action.id()).toStdString(),
                                  action.label().toStdString());
        if (const auto handle = m_hotkeys->registerHotkey(action.keyCode, action.carbonModifiers,
                                                          hotkeySignature, id)) {
            m_hotKeyRefs.push_back(*handle);
            held.insert({action.keyCode, action.carbonModifiers});
        } else if (m_eventHandlerInstalled &&
                   !held.contains({action.keyCode, action.carbonModifiers})) {
            // Where the session offers hotkeys at all, a refusal means another program holds
            // the combination; the row says so rather than leaving the user to guess.
            unavailable.insert(action.id());
        }
    }
    if (!m_suspended && unavailable != m_unavailableActionIDs) {
        m_unavailableActionIDs = unavailable;
        emit unavailableActionIDsChanged(m_unavailableActionIDs);
    }
}

QString AppDelegate::hotkeyMechanism() const {
    return m_eventHandlerInstalled ? QString::fromStdString(m_hotkeys->mechanism()) : QString();
}

void AppDelegate::readAssignedTriggers() {
    if (const QString mechanism = hotkeyMechanism(); mechanism != m_mechanism) {
        m_mechanism = mechanism;
        emit hotkeyMechanismChanged(m_mechanism);
    }
    if (m_hotkeys->mechanism().empty()) {
        emit hotkeysUnavailable();
        return;
    }
    QHash<QUuid, QString> triggers;
    for (auto entry = m_actionIDs.cbegin(); entry != m_actionIDs.cend(); ++entry) {
        if (const std::string trigger = m_hotkeys->assignedTrigger(entry.key()); !trigger.empty()) {
            triggers.insert(entry.value(), QString::fromStdString(trigger));
        }
    }
    if (triggers != m_assignedTriggers) {
        m_assignedTriggers = triggers;
        emit assignedTriggersChanged(m_assignedTriggers);
    }
}

void AppDelegate::setHotkeysSuspended(bool suspended) {
    if (suspended == m_suspended) {
        return;
    }
    m_suspended = suspended;
    if (suspended) {
        unregisterAllHotkeys();
    } else {
        registerAllHotkeys();
    }
}

void AppDelegate::unregisterAllHotkeys() {
    // A hotkey down now may no longer be heard coming up.
    m_hold.cancel();
    for (const HotkeyService::Handle handle : m_hotKeyRefs) {
        m_hotkeys->unregisterHotkey(handle);
    }
    m_hotKeyRefs.clear();
}

void AppDelegate::seekActionsChanged() {
    // Restarting the timer drops the re-registration it was counting down to.
    m_hotkeyDebounce.start();
}

void AppDelegate::precompileScripts() {
    std::vector<double> amounts;
    for (const SeekAction& action : m_settings.seekActions()) {
        const double seconds = action.signedSeconds();
        if (std::find(amounts.begin(), amounts.end(), seconds) == amounts.end()) {
            amounts.push_back(seconds);
        }
    }
    // Where players are driven by scripts, each target's seek script is built exactly as a
    // seek of that amount will run it, so the first press finds it in the cache.
    const bool started = ConcurrentQueue::utility().async(
        [amounts = std::move(amounts), players = m_players, self = QPointer<QObject>(this)] {
            for (const double seconds : amounts) {
                if (seconds == 0.0) {
                    continue; // play/pause has no seek to prepare
                }
                players->warmSeek(seconds);
            }
            MainThread::post(self, [self] {
                emit static_cast<AppDelegate*>(self.data())->scriptsPrecompiled();
            });
        });
    if (!started) {
        // Without a thread the scripts are built on their first run instead.
        emit scriptsPrecompiled();
    }
}

void AppDelegate::hotkeyEvent(std::uint32_t id, HotkeyService::KeyEvent event) {
    // Called from the platform's event dispatch: look up, hand on, return.
    if (event == HotkeyService::KeyEvent::released) {
        QMetaObject::invokeMethod(
            this, [this, id] { m_hold.release(id); }, Qt::QueuedConnection);
        return;
    }
    const auto found = g_hotkeySecondsMap.find(id);
    if (found == g_hotkeySecondsMap.end()) {
        return; // a press from before the last rebuild
    }
    const double seconds = found->second;
    // Play/pause never repeats: held, it would toggle back and forth.
    const bool repeats = seconds != 0 && m_settings.holdToSeek();
    QMetaObject::invokeMethod(
        this, [this, id, seconds, repeats] { m_hold.press(id, seconds, repeats); },
        Qt::QueuedConnection);
}
