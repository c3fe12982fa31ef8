#include "MprisRunningApps.h"

#include "MprisPlayerRegistry.h"

MprisRunningApps::MprisRunningApps(MprisPlayerRegistry& registry, QObject* parent)
    : RunningApps(parent)
    , m_registry(registry) {
    connect(&registry, &MprisPlayerRegistry::appAppeared, this, &RunningApps::launched);
    connect(&registry, &MprisPlayerRegistry::appVanished, this, &RunningApps::terminated);
    connect(&registry, &MprisPlayerRegistry::settled, this, &RunningApps::settled);
}

QSet<MediaApp> MprisRunningApps::runningApps() const {
    const QList<MediaApp> apps = m_registry.runningApps();
    return {apps.cbegin(), apps.cend()};
}

bool MprisRunningApps::isSettled() const {
    return m_registry.isSettled();
}
