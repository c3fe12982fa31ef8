#pragma once

#include "models/PermissionItem.h"

#include <QHash>
#include <QObject>
#include <QString>

#include <functional>
#include <memory>

class PlayerControl;
class RunningApps;

// Finds out, per media target, whether Scrubline may control it, by probing the running ones
// one after another off the GUI thread. A full check is kept for 30 seconds so that opening the
// Permissions tab again does not probe again. Lives on the GUI thread.
class PermissionChecker : public QObject {
    Q_OBJECT

public:
    using Statuses = QHash<QString, PermissionStatus>;
    // Seconds on a monotonic clock.
    using Clock = std::function<double()>;

    static constexpr double cacheTTL = 30.0;

    // Whether the program may have the keyboard system-wide; asked again on each refresh.
    using AccessibilityQuery = std::function<bool()>;

    // Without a clock, the system's monotonic one.
    PermissionChecker(std::shared_ptr<PlayerControl> players, std::unique_ptr<RunningApps> running,
                      AccessibilityQuery accessibilityTrusted, Clock now = {},
                      QObject* parent = nullptr);
    ~PermissionChecker() override;

    // Starts a check and returns at once; results arrive through statusesChanged. Ignored
    // while a check runs, even when forced. Unforced, a check less than 30 seconds old is
    // shown again instead.
    void checkAll(bool forceRefresh);

    // What is checked, in the order shown; the reference platform's list unless told.
    const QList<PermissionItem>& items() const { return m_items; }
    void setItems(QList<PermissionItem> items) { m_items = std::move(items); }

    Statuses statuses() const { return m_statuses; }
    PermissionStatus status(const QString& id) const;
    bool isChecking() const { return m_isChecking; }
    // As last read: when the checker was made, or at the last refreshAccessibility().
    bool accessibilityGranted() const { return m_accessibilityGranted; }
    // Asks the platform again, since the user may have granted it in the meantime.
    void refreshAccessibility();

    // Probes the items one after another on a worker thread and hands the results to `done`
    // on the GUI thread, unless `context` is gone by then.
    static void runProbes(std::shared_ptr<PlayerControl> players, QList<PermissionItem> items,
                          QObject* context, std::function<void(Statuses)> done);

signals:
    void statusesChanged();
    void isCheckingChanged();
    void accessibilityGrantedChanged();

private:
    void setChecking(bool checking);
    void probeRunningApps();

    std::shared_ptr<PlayerControl> m_players;
    std::unique_ptr<RunningApps> m_runningApps;
    AccessibilityQuery m_accessibilityTrusted;
    QList<PermissionItem> m_items = PermissionItem::all();
    Clock m_now;
    Statuses m_statuses;
    bool m_isChecking = false;
    bool m_accessibilityGranted;
    Statuses m_cachedResults;
    double m_cacheTime = 0;
};
