#include "MprisPlayerRegistry.h"

#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QDBusVariant>

#include <algorithm>

MprisPlayerRegistry::MprisPlayerRegistry(PlayerBus bus, QObject* parent)
    : MprisPlayerRegistry(bus, OwnerProgram::askingBus(bus.connection()), parent) {}

MprisPlayerRegistry::MprisPlayerRegistry(PlayerBus bus, OwnerProgramLookup ownerProgram,
                                         QObject* parent)
    : QObject(parent)
    , m_bus(std::move(bus))
    , m_states(m_bus.connection())
    , m_watch(m_bus.connection(), std::move(ownerProgram)) {
    connect(&m_watch, &MprisNameWatch::playerAppeared, this, &MprisPlayerRegistry::add);
    connect(&m_watch, &MprisNameWatch::playerVanished, this, &MprisPlayerRegistry::remove);
    connect(&m_watch, &MprisNameWatch::settled, this, &MprisPlayerRegistry::settled);
    connect(&m_states, &MprisPlayerStates::startedPlaying, this, &MprisPlayerRegistry::markActive);
}

void MprisPlayerRegistry::add(const QString& busName, const QString& owner, MediaApp app) {
    m_states.follow(busName, owner);
    QMutexLocker lock(&m_mutex);
    const bool first = countOf(app) == 0;
    m_players.insert(busName, Player{.app = app, .owner = owner, .lastActive = ++m_activity});
    lock.unlock();
    if (app == MediaApp::otherPlayers) {
        readIdentity(busName);
    }
    if (first) {
        emit appAppeared(app);
    }
}

void MprisPlayerRegistry::remove(const QString& busName) {
    m_states.forget(busName);
    QMutexLocker lock(&m_mutex);
    const auto found = m_players.constFind(busName);
    if (found == m_players.cend()) {
        return;
    }
    const MediaApp app = found->app;
    m_players.erase(found);
    const bool last = countOf(app) == 0;
    lock.unlock();
    if (last) {
        emit appVanished(app);
    }
}

int MprisPlayerRegistry::countOf(MediaApp app) const {
    return static_cast<int>(std::count_if(m_players.cbegin(), m_players.cend(),
                                          [app](const Player& p) { return p.app == app; }));
}

QStringList MprisPlayerRegistry::playersOf(MediaApp app) const {
    QMutexLocker lock(&m_mutex);
    QList<std::pair<quint64, QString>> found;
    for (auto it = m_players.cbegin(); it != m_players.cend(); ++it) {
        if (it->app == app) {
            found.append({it->lastActive, it.key()});
        }
    }
    std::sort(found.begin(), found.end(), std::greater<>());
    QStringList names;
    for (const auto& [active, name] : found) {
        names << name;
    }
    return names;
}

QList<MediaApp> MprisPlayerRegistry::runningApps() const {
    QMutexLocker lock(&m_mutex);
    QList<MediaApp> apps;
    for (const MediaApp app : MediaApp::everyCase()) {
        if (countOf(app) > 0) {
            apps << app;
        }
    }
    return apps;
}

void MprisPlayerRegistry::markActive(const QString& busName) {
    QMutexLocker lock(&m_mutex);
    if (auto found = m_players.find(busName); found != m_players.end()) {
        found->lastActive = ++m_activity;
    }
}

QString MprisPlayerRegistry::ownerOf(const QString& busName) const {
    QMutexLocker lock(&m_mutex);
    const auto found = m_players.constFind(busName);
    return found != m_players.cend() ? found->owner : QString();
}

MprisClient::Stepping MprisPlayerRegistry::steppingOf(const QString& busName) const {
    QMutexLocker lock(&m_mutex);
    const auto found = m_players.constFind(busName);
    const bool browser = found != m_players.cend() && (found->app == MediaApp::chromiumYouTube ||
                                                       found->app == MediaApp::firefox);
    return browser ? MprisClient::Stepping::toPosition : MprisClient::Stepping::relative;
}

void MprisPlayerRegistry::readIdentity(const QString& busName) {
    // Without waiting: the GUI thread never waits on a player.
    QDBusMessage call = QDBusMessage::createMethodCall(
        busName, QStringLiteral("/org/mpris/MediaPlayer2"),
        QStringLiteral("org.freedesktop.DBus.Properties"), QStringLiteral("Get"));
    call << QStringLiteral("org.mpris.MediaPlayer2") << QStringLiteral("Identity");
    auto* watcher = new QDBusPendingCallWatcher(m_bus.connection().asyncCall(call, 5000), this);
    connect(watcher, &QDBusPendingCallWatcher::finished, this,
            [this, busName](QDBusPendingCallWatcher* done) {
                done->deleteLater();
                const QDBusMessage reply = done->reply();
                if (reply.type() != QDBusMessage::ReplyMessage || reply.arguments().isEmpty()) {
                    return;
                }
                const QString identity =
                    reply.arguments().constFirst().value<QDBusVariant>().variant().toString();
                QMutexLocker lock(&m_mutex);
                if (auto found = m_players.find(busName); found != m_players.end()) {
                    found->identity = identity;
                }
            });
}

QString MprisPlayerRegistry::identityOf(const QString& busName) const {
    QMutexLocker lock(&m_mutex);
    const auto found = m_players.constFind(busName);
    return found != m_players.cend() ? found->identity : QString();
}
