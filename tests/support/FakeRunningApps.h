#pragma once

#include "platform/RunningApps.h"

// Running media apps as the test says: launch() and quit() change the set and announce it;
// settle() ends a start that was left unsettled.
class FakeRunningApps : public RunningApps {
public:
    explicit FakeRunningApps(QSet<MediaApp> apps = {}, bool settled = true)
        : m_apps(std::move(apps))
        , m_settled(settled) {}

    QSet<MediaApp> runningApps() const override { return m_apps; }
    bool isSettled() const override { return m_settled; }

    void launch(MediaApp app) {
        m_apps.insert(app);
        emit launched(app);
    }
    void quit(MediaApp app) {
        m_apps.remove(app);
        emit terminated(app);
    }
    void settle() {
        m_settled = true;
        emit settled();
    }

private:
    QSet<MediaApp> m_apps;
    bool m_settled;
};
