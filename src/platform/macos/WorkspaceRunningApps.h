#pragma once

#include "platform/RunningApps.h"

// The media apps among the running applications as the shared workspace lists them, each known
// by its bundle identifier (by its name where it has none).
class WorkspaceRunningApps : public RunningApps {
public:
    WorkspaceRunningApps();
    ~WorkspaceRunningApps() override;

    QSet<MediaApp> runningApps() const override;

private:
    struct Observers;
    Observers* m_observers;
};
