#pragma once

#include "platform/TrayAvailability.h"

#include <QDBusConnection>
#include <QDBusServiceWatcher>
#include <QObject>

#include <cstdint>

// The StatusNotifierItem tray of the session: a watcher (org.kde.StatusNotifierWatcher) with
// at least one host registered with it, the part that actually shows items. A watcher alone
// shows nothing, and the toolkit will not use it either. Followed by the watcher's name coming
// and going and by its host signals; every call is asynchronous and never starts a watcher.
class StatusNotifierHostWatch : public QObject {
    Q_OBJECT

public:
    static constexpr const char* watcherService = "org.kde.StatusNotifierWatcher";
    static constexpr const char* watcherPath = "/StatusNotifierWatcher";
    static constexpr const char* watcherInterface = "org.kde.StatusNotifierWatcher";

    explicit StatusNotifierHostWatch(QDBusConnection bus, QObject* parent = nullptr);

    TrayAvailability::State state() const { return m_state; }

signals:
    void stateChanged(TrayAvailability::State state);

private slots:
    void onHostsChanged();

private:
    void askWhetherHostsAreRegistered();
    void setState(TrayAvailability::State state);

    QDBusConnection m_bus;
    QDBusServiceWatcher m_nameWatcher;
    TrayAvailability::State m_state = TrayAvailability::State::unknown;
    // Each question is numbered; an answer to one asked before the latest change is stale.
    std::uint64_t m_question = 0;
};
