#pragma once

#include "PlayerBus.h"
#include "models/NowPlaying.h"
#include "models/SeekResult.h"

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
    std::optional<bool> canSeek; // absent when the player does not say

    bool isPlaying() const { return playbackStatus == QLatin1String("Playing"); }
    // Only a player that says it cannot is taken at its word; most never say either way.
    bool refusesSeeks() const { return canSeek == false; }
};

// How a player is best moved by a step.
enum class Stepping {
    // Seek(Δ) from wherever it is: native players, some of which ignore SetPosition unless
    // given their exact track id.
    relative,
    // SetPosition(Position + Δ): browsers hand a relative Seek to the page, which may take it
    // as a press of its own skip button of whatever size it likes.
    toPosition,
};

// Takes what a property map (all of the player's, or the changed ones of a signal) says.
void apply(State& state, const QVariantMap& properties);

// Whether SetPosition can be given this track: a real track, as an object path.
bool isUsableTrack(const std::optional<QString>& trackId);

// Absent when the player answers with an error or not in time.
std::optional<State> readState(const PlayerBus& bus, const QString& service, int timeoutMs);

// Moves a playing player by a non-zero number of seconds, kept between 0 and the track's
// length where the position and length are known. A player that says it cannot seek is an
// error and is sent nothing.
SeekResult seekIfPlaying(const PlayerBus& bus, const QString& service, double seconds,
                         int timeoutMs, Stepping stepping = Stepping::relative);
// Moves the player with a state already read, within what is left of the time-out.
SeekResult seekFrom(const PlayerBus& bus, const QString& service, const State& state,
                    double seconds, int timeoutMs, Stepping stepping = Stepping::relative);

// Where a step from `positionUs` lands, kept inside the track where its length is known.
qint64 clampedTarget(const State& state, qint64 positionUs, qint64 deltaUs);

// SetPosition to an absolute position. A track id that is no object path (or none) is sent as
// the "no track" path: only players that ignore the track id are sent one.
SeekResult setPosition(const PlayerBus& bus, const QString& service,
                       const std::optional<QString>& trackId, qint64 positionUs, int timeoutMs);

// Moves the player by a signed number of microseconds from wherever it is, in one round trip.
SeekResult seekRelative(const PlayerBus& bus, const QString& service, qint64 deltaUs,
                        int timeoutMs);

// Toggles play/pause; any answer but an error is seeked.
SeekResult playPause(const PlayerBus& bus, const QString& service, int timeoutMs);

// The title and artists of what a playing player plays, as it says them; empty when it plays
// nothing or cannot tell.
NowPlaying nowPlaying(const State& state);

} // namespace MprisClient
