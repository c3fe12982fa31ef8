#pragma once

#include "models/SeekResult.h"

#include <QDBusConnection>
#include <QString>
#include <QStringList>

#include <optional>

// One MPRIS player on the bus, addressed by its bus name. Every call is an explicit method call
// (properties through org.freedesktop.DBus.Properties), since some players publish an empty
// introspection and a proxy would read nothing. Each operation blocks for at most the time-out
// given, all its round trips together.
namespace MprisClient {

// What the player says of itself, read in one round trip.
struct State {
    QString playbackStatus;           // "Playing", "Paused", "Stopped"
    std::optional<QString> trackId;   // typed o or s
    std::optional<qint64> lengthUs;   // typed x or t
    std::optional<qint64> positionUs; // absent when the player does not report it
    QString title;
    QStringList artists;
    double rate = 1.0;

    bool isPlaying() const { return playbackStatus == QLatin1String("Playing"); }
};

// Takes what a property map (all of the player's, or the changed ones of a signal) says.
void apply(State& state, const QVariantMap& properties);

// Whether SetPosition can be given this track: a real track, as an object path.
bool isUsableTrack(const std::optional<QString>& trackId);

// Absent when the player answers with an error or not in time.
std::optional<State> readState(const QDBusConnection& bus, const QString& service, int timeoutMs);

// Moves a playing player by a non-zero number of seconds: to a position kept between 0 and the
// track's length when both its track and length are known, else by a relative seek.
SeekResult seekIfPlaying(const QDBusConnection& bus, const QString& service, double seconds,
                         int timeoutMs);
// Moves the player with a state already read, within what is left of the time-out.
SeekResult seekFrom(const QDBusConnection& bus, const QString& service, const State& state,
                    double seconds, int timeoutMs);

// Moves the player by a signed number of microseconds from wherever it is, in one round trip.
SeekResult seekRelative(const QDBusConnection& bus, const QString& service, qint64 deltaUs,
                        int timeoutMs);

// Toggles play/pause; any answer but an error is seeked.
SeekResult playPause(const QDBusConnection& bus, const QString& service, int timeoutMs);

// "title - artist" (artists joined with ", ", just the title when there is none) of a playing
// player; empty when it plays nothing or cannot tell.
QString nowPlayingText(const State& state);

} // namespace MprisClient
