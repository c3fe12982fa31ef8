#pragma once

#include "platform/RunningApps.h"

class MprisPlayerRegistry;

// A media app counts as running while at least one of its players is on the bus.
class MprisRunningApps : public RunningApps {
public:
    explicit MprisRunningApps(MprisPlayerRegistry& registry, QObject* parent = nullptr);

    QSet<MediaApp> runningApps() const override;
    bool isSettled() const override;

private:
    MprisPlayerRegistry& m_registry;
};
