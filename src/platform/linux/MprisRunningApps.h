#pragma once

#include "platform/RunningApps.h"

class MprisPlayerRegistry;

// A media app counts as running while at least one of its players is on the bus, and is
// reported under the app's process name.
class MprisRunningApps : public RunningApps {
public:
    explicit MprisRunningApps(MprisPlayerRegistry& registry, QObject* parent = nullptr);

    QSet<QString> runningNames() const override;

private:
    MprisPlayerRegistry& m_registry;
};
