#include "MprisClient.h"

#include <QDBusArgument>
#include <QDBusMessage>
#include <QDBusObjectPath>
#include <QDBusVariant>
#include <QDeadlineTimer>
#include <QRegularExpression>
#include <QVariantMap>

#include <algorithm>
#include <cmath>
#include <functional>

namespace MprisClient {
namespace {

const QString objectPath = QStringLiteral("/org/mpris/MediaPlayer2");
const QString playerInterface = QStringLiteral("org.mpris.MediaPlayer2.Player");
// The MPRIS way of saying there is no track.
const QString noTrack = QStringLiteral("/org/mpris/MediaPlayer2/TrackList/NoTrack");

QVariant unwrap(const QVariant& value) {
    if (value.canConvert<QDBusVariant>() && value.userType() == qMetaTypeId<QDBusVariant>()) {
        return value.value<QDBusVariant>().variant();
    }
    return value;
}

QVariantMap toMap(const QVariant& value) {
    const QVariant plain = unwrap(value);
    if (plain.userType() == qMetaTypeId<QDBusArgument>()) {
        return qdbus_cast<QVariantMap>(plain.value<QDBusArgument>());
    }
    return plain.toMap();
}

// Integers come typed x or t (and from careless players as i or u).
std::optional<qint64> toInteger(const QVariant& value) {
    const QVariant plain = unwrap(value);
    switch (plain.metaType().id()) {
    case QMetaType::LongLong:
    case QMetaType::Int:
        return plain.toLongLong();
    case QMetaType::ULongLong:
    case QMetaType::UInt:
        return static_cast<qint64>(std::min<qulonglong>(plain.toULongLong(), LLONG_MAX));
    case QMetaType::Double:
        return static_cast<qint64>(plain.toDouble());
    default:
        return std::nullopt;
    }
}

std::optional<QString> toTrackId(const QVariant& value) {
    const QVariant plain = unwrap(value);
    if (plain.userType() == qMetaTypeId<QDBusObjectPath>()) {
        return plain.value<QDBusObjectPath>().path();
    }
    if (plain.metaType().id() == QMetaType::QString) {
        return plain.toString();
    }
    return std::nullopt;
}

QStringList toStrings(const QVariant& value) {
    const QVariant plain = unwrap(value);
    if (plain.userType() == qMetaTypeId<QDBusArgument>()) {
        return qdbus_cast<QStringList>(plain.value<QDBusArgument>());
    }
    if (plain.metaType().id() == QMetaType::QString) {
        return {plain.toString()};
    }
    return plain.toStringList();
}

// SetPosition takes the track as an object path; a track id that is not one cannot be used.
bool isObjectPath(const QString& text) {
    static const QRegularExpression path(QStringLiteral("^(/|(/[A-Za-z0-9_]+)+)$"));
    return path.match(text).hasMatch();
}

int remaining(const QDeadlineTimer& deadline) {
    return static_cast<int>(std::max<qint64>(1, deadline.remainingTime()));
}

} // namespace

void apply(State& state, const QVariantMap& properties) {
    const auto has = [&properties](const char* name) {
        return properties.contains(QLatin1String(name));
    };
    if (has("PlaybackStatus")) {
        state.playbackStatus =
            unwrap(properties.value(QStringLiteral("PlaybackStatus"))).toString();
    }
    if (has("Position")) {
        state.positionUs = toInteger(properties.value(QStringLiteral("Position")));
    }
    if (has("CanSeek")) {
        state.canSeek = unwrap(properties.value(QStringLiteral("CanSeek"))).toBool();
    }
    if (has("Rate")) {
        const QVariant rate = unwrap(properties.value(QStringLiteral("Rate")));
        state.rate = rate.toDouble() > 0 ? rate.toDouble() : 1.0;
    }
    if (has("Metadata")) {
        const QVariantMap metadata = toMap(properties.value(QStringLiteral("Metadata")));
        state.trackId = toTrackId(metadata.value(QStringLiteral("mpris:trackid")));
        state.lengthUs = toInteger(metadata.value(QStringLiteral("mpris:length")));
        state.title = unwrap(metadata.value(QStringLiteral("xesam:title"))).toString();
        state.artists = toStrings(metadata.value(QStringLiteral("xesam:artist")));
        state.artists.removeAll(QString());
    }
}

bool isUsableTrack(const std::optional<QString>& trackId) {
    return trackId && *trackId != noTrack && isObjectPath(*trackId);
}

std::optional<State> readState(const PlayerBus& bus, const QString& service, int timeoutMs) {
    const std::optional<QVariantMap> properties = bus.playerProperties(service, timeoutMs);
    if (!properties) {
        return std::nullopt;
    }
    State state;
    apply(state, *properties);
    return state;
}

SeekResult seekIfPlaying(const PlayerBus& bus, const QString& service, double seconds,
                         int timeoutMs, Stepping stepping) {
    const QDeadlineTimer deadline(timeoutMs);
    const std::optional<State> state = readState(bus, service, timeoutMs);
    if (!state) {
        return SeekResult::error;
    }
    return seekFrom(bus, service, *state, seconds, remaining(deadline), stepping);
}

qint64 clampedTarget(const State& state, qint64 positionUs, qint64 deltaUs) {
    const qint64 target = std::max<qint64>(0, positionUs + deltaUs);
    return state.lengthUs && *state.lengthUs > 0 ? std::min(target, *state.lengthUs) : target;
}

SeekResult setPosition(const PlayerBus& bus, const QString& service,
                       const std::optional<QString>& trackId, qint64 positionUs, int timeoutMs) {
    const QString track = trackId && isObjectPath(*trackId) ? *trackId : noTrack;
    QDBusMessage call = QDBusMessage::createMethodCall(service, objectPath, playerInterface,
                                                       QStringLiteral("SetPosition"));
    call << QVariant::fromValue(QDBusObjectPath(track))
         << QVariant::fromValue<qlonglong>(positionUs);
    return bus.command(
        call, [&] { return DirectBusCalls::setPosition(service, track, positionUs, timeoutMs); },
        timeoutMs);
}

SeekResult seekFrom(const PlayerBus& bus, const QString& service, const State& state,
                    double seconds, int timeoutMs, Stepping stepping) {
    if (!state.isPlaying()) {
        return SeekResult::notPlaying;
    }
    if (state.refusesSeeks()) {
        return SeekResult::error;
    }
    const auto delta = static_cast<qint64>(std::llround(seconds * 1e6));
    if (!state.positionUs) {
        // Nowhere to start from: only the player itself can take the step.
        return seekRelative(bus, service, delta, timeoutMs);
    }
    const qint64 target = clampedTarget(state, *state.positionUs, delta);
    if (stepping == Stepping::toPosition) {
        return setPosition(bus, service, state.trackId, target, timeoutMs);
    }
    if (target == *state.positionUs + delta) {
        return seekRelative(bus, service, delta, timeoutMs);
    }
    // Past an end. A relative seek past the end would start the next track; an exact track id
    // lets the player be put at the very end, else it is moved as far as the end is.
    if (isUsableTrack(state.trackId)) {
        return setPosition(bus, service, state.trackId, target, timeoutMs);
    }
    return seekRelative(bus, service, target - *state.positionUs, timeoutMs);
}

SeekResult seekRelative(const PlayerBus& bus, const QString& service, qint64 deltaUs,
                        int timeoutMs) {
    QDBusMessage call = QDBusMessage::createMethodCall(service, objectPath, playerInterface,
                                                       QStringLiteral("Seek"));
    call << QVariant::fromValue<qlonglong>(deltaUs);
    return bus.command(
        call, [&] { return DirectBusCalls::seek(service, deltaUs, timeoutMs); }, timeoutMs);
}

SeekResult playPause(const PlayerBus& bus, const QString& service, int timeoutMs) {
    const QDBusMessage call = QDBusMessage::createMethodCall(service, objectPath, playerInterface,
                                                             QStringLiteral("PlayPause"));
    return bus.command(
        call, [&] { return DirectBusCalls::playPause(service, timeoutMs); }, timeoutMs);
}

NowPlaying nowPlaying(const State& state) {
    if (!state.isPlaying() || state.title.isEmpty()) {
        return {};
    }
    return {state.title, state.artists};
}

} // namespace MprisClient
