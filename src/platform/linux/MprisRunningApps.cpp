#include "MprisRunningApps.h"

#include "MprisPlayerRegistry.h"

MprisRunningApps::MprisRunningApps(MprisPlayerRegistry& registry, QObject* parent)
    : RunningApps(parent)
    , m_registry(registry) {
    connect(&registry, &MprisPlayerRegistry::appAppeared, this,
            [this](MediaApp app) { emit launched(app.processName()); });
    connect(&registry, &MprisPlayerRegistry::appVanished, this,
            [this](MediaApp app) { emit terminated(app.processName()); });
}

QSet<QString> MprisRunningApps::runningNames() const {
    QSet<QString> names;
    for (const MediaApp app : m_registry.runningApps()) {
        names.insert(app.processName());
    }
    return names;
}
