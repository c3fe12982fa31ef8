#include "PermissionChecker.h"

#include "platform/PlayerControl.h"
#include "platform/RunningApps.h"
#include "utilities/ConcurrentQueue.h"
#include "utilities/MainThread.h"

#include <chrono>

namespace {

double monotonicSeconds() {
    return std::chrono::duration<double>(std::chrono::steady_clock::now().time_since_epoch())
        .count();
}

} // namespace

PermissionChecker::PermissionChecker(std::shared_ptr<PlayerControl> players,
                                     std::unique_ptr<RunningApps> running,
                                     AccessibilityQuery accessibilityTrusted, Clock now,
                                     QObject* parent)
    : QObject(parent)
    , m_players(std::move(players))
    , m_runningApps(std::move(running))
    , m_accessibilityTrusted(std::move(accessibilityTrusted))
    , m_now(now ? std::move(now) : Clock(monotonicSeconds))
    , m_accessibilityGranted(m_accessibilityTrusted && m_accessibilityTrusted()) {}

void PermissionChecker::refreshAccessibility() {
    const bool granted = m_accessibilityTrusted && m_accessibilityTrusted();
    if (granted != m_accessibilityGranted) {
        m_accessibilityGranted = granted;
        emit accessibilityGrantedChanged();
    }
}

PermissionChecker::~PermissionChecker() = default;

PermissionStatus PermissionChecker::status(const QString& id) const {
    return m_statuses.value(id, PermissionStatus::unknown);
}

void PermissionChecker::checkAll(bool forceRefresh) {
    if (m_isChecking) {
        return;
    }
    if (!forceRefresh && m_now() - m_cacheTime < cacheTTL && !m_cachedResults.isEmpty()) {
        m_statuses.insert(m_cachedResults);
        emit statusesChanged();
        return;
    }
    setChecking(true);
    if (!m_runningApps->isSettled()) {
        // Just made, the list of running apps may not have heard of every player yet: a player
        // that runs must not be called not running for that. Every row checks until it has.
        for (const PermissionItem& item : m_items) {
            m_statuses.insert(item.id, PermissionStatus::checking);
        }
        emit statusesChanged();
        connect(m_runningApps.get(), &RunningApps::settled, this,
                &PermissionChecker::probeRunningApps, Qt::SingleShotConnection);
        return;
    }
    probeRunningApps();
}

void PermissionChecker::probeRunningApps() {
    const QSet<MediaApp> running = m_runningApps->runningApps();
    QList<PermissionItem> probes;
    for (const PermissionItem& item : m_items) {
        if (!item.app || !running.contains(*item.app)) {
            m_statuses.insert(item.id, PermissionStatus::appNotRunning);
        } else {
            m_statuses.insert(item.id, PermissionStatus::checking);
            probes << item;
        }
    }
    emit statusesChanged();

    // Even with nothing to probe, the answer comes back the same way, so a check always ends
    // after the event that started it.
    runProbes(m_players, probes, this, [this](const Statuses& results) {
        m_statuses.insert(results);
        m_cachedResults = m_statuses;
        m_cacheTime = m_now();
        emit statusesChanged();
        setChecking(false);
    });
}

void PermissionChecker::runProbes(std::shared_ptr<PlayerControl> players,
                                  QList<PermissionItem> items, QObject* context,
                                  std::function<void(Statuses)> done) {
    QPointer<QObject> guard(context);
    const bool started = ConcurrentQueue::userInitiated().async([players, items, guard, done] {
        Statuses results;
        for (const PermissionItem& item : items) {
            results.insert(item.id, players->probe(item, PlayerControl::actionTimeout));
        }
        MainThread::post(guard, [done, results] { done(results); });
    });
    if (!started) {
        // Nothing could be probed; the check still ends, with nothing learnt.
        Statuses unknown;
        for (const PermissionItem& item : items) {
            unknown.insert(item.id, PermissionStatus::unknown);
        }
        MainThread::post(guard, [done, unknown] { done(unknown); });
    }
}

void PermissionChecker::setChecking(bool checking) {
    if (m_isChecking != checking) {
        m_isChecking = checking;
        emit isCheckingChanged();
    }
}
