#pragma once

#include <QString>
#include <QVariantMap>

#include <cstdint>

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

} // namespace DirectBusCalls
