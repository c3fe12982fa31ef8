#pragma once

#include <QString>
#include <QVariantMap>

#include <cstdint>
#include <optional>

// Method calls straight through libdbus, on a session bus connection of the calling thread's
// own. QtDBus hands every blocking call to its own thread and back, which costs more than the
// round trip itself; a seek is one call and should cost one round trip.
namespace DirectBusCalls {

enum class Outcome { replied, failed, unavailable };

// Player methods on /org/mpris/MediaPlayer2; `unavailable` when no session bus connection
// could be made from this thread, so the caller can take another way.
Outcome seek(const QString& service, std::int64_t offsetUs, int timeoutMs);
Outcome setPosition(const QString& service, const QString& trackId, std::int64_t positionUs,
                    int timeoutMs);
Outcome playPause(const QString& service, int timeoutMs);
// All properties of the player's Player interface, with values as QtDBus gives them (variants
// unwrapped, dictionaries as maps); `replied` only when they were read.
Outcome playerProperties(const QString& service, int timeoutMs, QVariantMap* properties);

// The players' announcements of their status, heard on this thread's connection in the bus's
// order up to the moment asked: fresher than what the GUI thread has taken in by then.
enum class Heard {
    nothing,  // no status announced since this thread followed the player
    playing,  // "Playing"
    vanished, // "Stopped" with no track, as a browser says for a moment after a seek
    other,    // any other status: paused, stopped
};
// Follows the player with this unique connection name from now on, on this thread's connection
// (the first time, one round trip to the bus daemon). False when it cannot.
bool followPlayer(const QString& owner);
// What the player with this unique connection name last announced.
Heard lastHeardStatus(const QString& owner);

} // namespace DirectBusCalls
