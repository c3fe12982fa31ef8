#pragma once

#include "FakePlayers.h"
#include "FakeRunningApps.h"
#include "TempHome.h"
#include "models/AppSettings.h"
#include "services/MediaController.h"

#include <QList>

#include <memory>

// A media controller over fake players and running applications, with real settings in a
// temporary home.
class ControllerRig {
public:
    ControllerRig();
    ~ControllerRig();

    // Makes the controller, with these applications running.
    void start(const QSet<QString>& running);

    // Enqueues the requests and runs the event loop until all of them are served, or the time
    // is up; answers how many were served. A real event loop, not QTRY's poll-and-sleep, so
    // that a long burst goes at the speed the application has.
    qsizetype seek(const QList<double>& requests, int timeoutMs = 20000);

    AppSettings& settings() { return *m_settings; }
    FakePlayers& players() { return *m_players; }
    FakeRunningApps& running() { return *m_running; }
    MediaController& controller() { return *m_controller; }

private:
    TempHome m_home;
    std::unique_ptr<AppSettings> m_settings;
    std::shared_ptr<FakePlayers> m_players;
    FakeRunningApps* m_running = nullptr;
    std::unique_ptr<MediaController> m_controller;
};
