#pragma once

#include "FakePlayers.h"
#include "FakeRunningApps.h"
#include "ReferenceApps.h"
#include "TempHome.h"
#include "core/MediaController.h"
#include "core/MediaStatus.h"
#include "platform/DesktopIntegration.h"
#include "platform/LoginItem.h"
#include "settings/AppSettings.h"

#include <QList>

#include <memory>

// A media controller and its status over fake players and running applications, with real
// settings in a temporary home, wired as the application shell wires them.
class ControllerRig {
public:
    // Where the platform offers these apps, with this login item for launch at login (none:
    // every switch is only logged).
    explicit ControllerRig(QList<MediaApp> offeredApps,
                           std::unique_ptr<LoginItem> loginItem = nullptr);
    ~ControllerRig();

    // Makes the controller, with these applications running; `settled` false makes the list
    // one that has not yet heard of every player (FakeRunningApps::settle ends that).
    void start(const QSet<MediaApp>& running, bool settled = true);

    // Enqueues the requests and runs the event loop until all of them are served, or the time
    // is up; answers how many were served. A real event loop, not QTRY's poll-and-sleep, so
    // that a long burst goes at the speed the application has.
    qsizetype seek(const QList<double>& requests, int timeoutMs = 20000);

    AppSettings& settings() { return *m_settings; }
    FakePlayers& players() { return *m_players; }
    FakeRunningApps& running() { return *m_running; }
    MediaController& controller() { return *m_controller; }
    MediaStatus& status() { return *m_status; }
    // This platform's own, as the views get it.
    DesktopIntegration& desktop() { return *m_desktop; }
    // The alerts the controller asked to show, in order.
    const QList<UserAlert>& alerts() const { return m_alerts; }

private:
    TempHome m_home;
    std::unique_ptr<AppSettings> m_settings;
    std::shared_ptr<FakePlayers> m_players;
    std::unique_ptr<DesktopIntegration> m_desktop;
    FakeRunningApps* m_running = nullptr;
    std::unique_ptr<MediaStatus> m_status;
    std::unique_ptr<MediaController> m_controller;
    QList<UserAlert> m_alerts;
};
