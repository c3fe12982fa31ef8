#pragma once

#include "MprisClient.h"

#include <QVariantMap>
#include <QtGlobal>

#include <functional>
#include <optional>

// Where one player is in its track, from what it last said and the time since, so that a seek
// needs no read first where the player is known to be playing, in a known track, well away from
// both ends of it. Fed by whoever follows the player's signals; not thread-safe on its own.
class PlayerPositionEstimate {
public:
    // Monotonic nanoseconds; only differences between two readings count.
    using Clock = std::function<qint64()>;

    // A browser's media session says "Stopped" with no metadata for a moment after a seek, then
    // plays the same track again. Right after our own seek of a playing player, that moment is
    // held over: the player still counts as playing its track, from where it was, for at most
    // this long. Anything else it says meanwhile (a pause, another track) ends the hold and
    // leaves the player to be read again.
    static constexpr qint64 seekFlickerNs = 1'500'000'000;

    // On the steady clock.
    PlayerPositionEstimate();
    explicit PlayerPositionEstimate(Clock clock);

    // A full read of the player's state.
    void remember(const MprisClient::State& state);
    // The player's Player properties that it announced as changed.
    void applyChanges(const QVariantMap& changed);
    // The player announced that its position moved to here.
    void seeked(qint64 positionUs);
    // Our own seek is on its way: the position is unsure until the player announces it.
    void expectSeeked();
    // We moved the player to this position just now. That is known to the microsecond, where
    // some players report and announce only whole seconds: a whole-second announcement that
    // agrees with it to within a second does not replace it. An exact one does: it comes once
    // the player got there, which takes a browser a moment. Shortly after our move, an
    // announcement far from it is one of an earlier move of ours, and is passed over.
    void sentPosition(qint64 positionUs);

    // The state as last read and kept up to date; its position is the one at the last anchor,
    // not now. Absent until a read, and again once the player is to be read anew.
    const std::optional<MprisClient::State>& known() const { return m_known; }
    // The position now, run on from the last one known at the rate known; absent when unknown.
    std::optional<qint64> positionUs() const;
    // Whether the moment after our seek is being held over now.
    bool isHeldOver() const;
    // True when a relative seek by this much is known to stay inside the track, by a margin
    // that grows with the time since the position was last known for sure. Only for players
    // that announce every move of the position (Seeked), so that one moved by the user in its
    // own window is never guessed wrong; Spotify, which does not, is always read first.
    bool canSeekRelatively(qint64 deltaUs) const;
    // Where a step by this much lands, kept inside the track, for a player moved to positions:
    // known without a read where the player is known to be playing a known item, and either
    // announces every move of its position or was last moved by us. Absent otherwise.
    std::optional<qint64> targetWithoutRead(qint64 deltaUs) const;
    // True while our last seek of a player that announces its moves is not announced yet. Its
    // reported position may then still be the one from before that seek.
    bool isSeekInFlight() const;

private:
    qint64 estimatedPositionUs() const; // with m_known set
    void reanchor();                    // with m_known set
    // Whether a change ends or starts a hold; false when it is to be applied.
    bool heldOver(const QVariantMap& changed); // with m_known set

    Clock m_clock;
    std::optional<MprisClient::State> m_known;
    qint64 m_knownAtNs = 0;                   // when m_known->positionUs was the position
    bool m_announcesSeeks = false;            // a Seeked signal of the player was seen
    bool m_awaitingSeeked = false;            // our last seek is not announced yet
    std::optional<qint64> m_ownSeekAtNs;      // when our last seek was sent
    std::optional<qint64> m_holdingSinceNs;   // the flicker after our seek, held over since then
    std::optional<qint64> m_sentPositionAtNs; // when we last moved the player to a position
    bool m_awaitingPosition = false;          // that move is not announced yet
};
