#pragma once

#include "platform/RunningApps.h"

// Running applications as the test says: launch() and quit() change the list and announce it.
class FakeRunningApps : public RunningApps {
public:
    explicit FakeRunningApps(QSet<QString> names = {})
        : m_names(std::move(names)) {}

    QSet<QString> runningNames() const override { return m_names; }

    void launch(const QString& name) {
        m_names.insert(name);
        emit launched(name);
    }
    void quit(const QString& name) {
        m_names.remove(name);
        emit terminated(name);
    }

private:
    QSet<QString> m_names;
};
