#include "MprisPlayerStates.h"

MprisPlayerStates::MprisPlayerStates(const QDBusConnection& bus, QObject* parent)
    : QObject(parent) {
    if (!bus.isConnected()) {
        return;
    }
    QDBusConnection connection = bus;
    connection.connect(QString(), QStringLiteral("/org/mpris/MediaPlayer2"),
                       QStringLiteral("org.freedesktop.DBus.Properties"),
                       QStringLiteral("PropertiesChanged"), this,
                       SLOT(propertiesChanged(QString, QVariantMap, QStringList, QDBusMessage)));
    connection.connect(QString(), QStringLiteral("/org/mpris/MediaPlayer2"),
                       QStringLiteral("org.mpris.MediaPlayer2.Player"), QStringLiteral("Seeked"),
                       this, SLOT(seeked(qlonglong, QDBusMessage)));
}

void MprisPlayerStates::follow(const QString& busName, const QString& owner) {
    QMutexLocker lock(&m_mutex);
    m_players.insert(busName, Followed{owner});
}

void MprisPlayerStates::forget(const QString& busName) {
    QMutexLocker lock(&m_mutex);
    m_players.remove(busName);
}

void MprisPlayerStates::propertiesChanged(const QString& interface, const QVariantMap& changed,
                                          const QStringList& /*invalidated*/,
                                          const QDBusMessage& message) {
    if (interface != QLatin1String("org.mpris.MediaPlayer2.Player")) {
        return;
    }
    const bool playing =
        changed.value(QStringLiteral("PlaybackStatus")).toString() == QLatin1String("Playing");
    QStringList started;
    QMutexLocker lock(&m_mutex);
    for (auto it = m_players.begin(); it != m_players.end(); ++it) {
        if (it->owner != message.service()) {
            continue;
        }
        if (playing) {
            started << it.key();
        }
        it->estimate.applyChanges(changed);
    }
    lock.unlock();
    for (const QString& busName : started) {
        emit startedPlaying(busName);
    }
}

void MprisPlayerStates::seeked(qlonglong positionUs, const QDBusMessage& message) {
    QMutexLocker lock(&m_mutex);
    for (Followed& player : m_players) {
        if (player.owner == message.service()) {
            player.estimate.seeked(positionUs);
        }
    }
}

void MprisPlayerStates::remember(const QString& busName, const MprisClient::State& state) {
    QMutexLocker lock(&m_mutex);
    if (auto found = m_players.find(busName); found != m_players.end()) {
        found->estimate.remember(state);
    }
}

void MprisPlayerStates::expectSeeked(const QString& busName) {
    QMutexLocker lock(&m_mutex);
    if (auto found = m_players.find(busName); found != m_players.end()) {
        found->estimate.expectSeeked();
    }
}

bool MprisPlayerStates::isSeekInFlight(const QString& busName) const {
    QMutexLocker lock(&m_mutex);
    const auto found = m_players.constFind(busName);
    return found != m_players.cend() && found->estimate.isSeekInFlight();
}

bool MprisPlayerStates::isHeldOver(const QString& busName) const {
    QMutexLocker lock(&m_mutex);
    const auto found = m_players.constFind(busName);
    return found != m_players.cend() && found->estimate.isHeldOver();
}

bool MprisPlayerStates::canSeekRelatively(const QString& busName, qint64 deltaUs) const {
    QMutexLocker lock(&m_mutex);
    const auto found = m_players.constFind(busName);
    return found != m_players.cend() && found->estimate.canSeekRelatively(deltaUs);
}

std::optional<qint64> MprisPlayerStates::targetWithoutRead(const QString& busName,
                                                           qint64 deltaUs) const {
    QMutexLocker lock(&m_mutex);
    const auto found = m_players.constFind(busName);
    return found != m_players.cend() ? found->estimate.targetWithoutRead(deltaUs) : std::nullopt;
}

std::optional<qint64> MprisPlayerStates::positionUs(const QString& busName) const {
    QMutexLocker lock(&m_mutex);
    const auto found = m_players.constFind(busName);
    return found != m_players.cend() ? found->estimate.positionUs() : std::nullopt;
}

void MprisPlayerStates::sentPosition(const QString& busName, qint64 positionUs) {
    QMutexLocker lock(&m_mutex);
    if (auto found = m_players.find(busName); found != m_players.end()) {
        found->estimate.sentPosition(positionUs);
    }
}

std::optional<MprisClient::State> MprisPlayerStates::known(const QString& busName) const {
    QMutexLocker lock(&m_mutex);
    const auto found = m_players.constFind(busName);
    return found != m_players.cend() ? found->estimate.known() : std::nullopt;
}
