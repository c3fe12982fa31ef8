#pragma once

#include "platform/RunningApps.h"

// The running applications as the shared workspace lists them, by localized name.
class WorkspaceRunningApps : public RunningApps {
public:
    WorkspaceRunningApps();
    ~WorkspaceRunningApps() override;

    QSet<QString> runningNames() const override;

private:
    struct Observers;
    Observers* m_observers;
};
