#include "MprisPlayerControl.h"

#include "MprisClient.h"
#include "MprisPlayerRegistry.h"

#include <QDeadlineTimer>

#include <cmath>
#include <cstdlib>

namespace {

int milliseconds(double seconds) {
    return seconds > 0 ? static_cast<int>(std::ceil(std::min(seconds, 86400.0) * 1000)) : 1;
}

int remaining(const QDeadlineTimer& deadline) {
    return static_cast<int>(std::max<qint64>(1, deadline.remainingTime()));
}

// Whether a step from the position read lands well away from the end it goes towards,
// whatever a seek still under way has done meanwhile.
bool landsWellInside(const MprisClient::State& state, qint64 deltaUs) {
    if (!state.positionUs || !state.lengthUs || *state.lengthUs <= 0) {
        return true; // nothing to keep inside: the player clamps as it sees fit
    }
    // Room for one more step of the same size still under way, on the side the step goes.
    const qint64 margin = std::abs(deltaUs) + 2'000'000;
    const qint64 target = *state.positionUs + deltaUs;
    return deltaUs >= 0 ? target <= *state.lengthUs - margin : target >= margin;
}

} // namespace

MprisPlayerControl::MprisPlayerControl(MprisPlayerRegistry& registry)
    : m_registry(registry)
    , m_states(registry.states()) {}

bool MprisPlayerControl::stillPlaying(const QString& player) const {
    switch (m_registry.bus().lastHeardStatus(m_registry.ownerOf(player))) {
    case DirectBusCalls::Heard::nothing:
    case DirectBusCalls::Heard::playing:
        return true;
    case DirectBusCalls::Heard::vanished:
        return m_states.isHeldOver(player);
    case DirectBusCalls::Heard::other:
        return false;
    }
    return false;
}

PlayerControl::SeekAnswer MprisPlayerControl::seekIfPlaying(MediaApp app, double seconds,
                                                            double timeout) {
    SeekAnswer answer = seekOnce(app, seconds, timeout);
    if (answer.result == SeekResult::seeked && app == MediaApp::otherPlayers) {
        answer.playerName = m_registry.identityOf(m_registry.playersOf(app).value(0));
    }
    return answer;
}

PlayerControl::SeekAnswer MprisPlayerControl::seekOnce(MediaApp app, double seconds,
                                                       double timeout) {
    const QDeadlineTimer deadline(milliseconds(timeout));
    const auto deltaUs = static_cast<qint64>(std::llround(seconds * 1e6));
    bool failed = false;
    for (const QString& player : m_registry.playersOf(app)) {
        // From before the first read on, so that no announcement after it goes unheard here.
        m_registry.bus().followPlayer(m_registry.ownerOf(player));
        const MprisClient::Stepping stepping = m_registry.steppingOf(player);
        // Known to be playing, and where: one round trip. The registry takes the players'
        // signals in on the GUI thread, a moment after they came; a pause announced meanwhile
        // is heard here, on this thread's own connection.
        if (stepping == MprisClient::Stepping::toPosition) {
            const std::optional<qint64> target = m_states.targetWithoutRead(player, deltaUs);
            if (target && stillPlaying(player)) {
                return {moveTo(player, *target, deadline)};
            }
        } else if (m_states.canSeekRelatively(player, deltaUs) && stillPlaying(player)) {
            m_registry.markActive(player);
            m_states.expectSeeked(player);
            return {
                MprisClient::seekRelative(m_registry.bus(), player, deltaUs, remaining(deadline))};
        }
        // Otherwise read first.
        const std::optional<qint64> kept = m_states.positionUs(player);
        std::optional<MprisClient::State> state =
            MprisClient::readState(m_registry.bus(), player, remaining(deadline));
        if (!state) {
            failed = true;
            continue;
        }
        if (!state->isPlaying()) {
            m_states.remember(player, *state);
            continue;
        }
        m_registry.markActive(player);
        if (state->refusesSeeks()) {
            m_states.remember(player, *state);
            return {SeekResult::error}; // sent nothing: it would not move
        }
        const bool seekInFlight = m_states.isSeekInFlight(player);
        if (stepping == MprisClient::Stepping::toPosition) {
            // A whole-second reading (Firefox's) is the true position cut down to the second.
            // The position kept since an announcement or our own last move is exact, where it
            // agrees; else the middle of that second is at most half a second off.
            constexpr qint64 second = 1'000'000;
            if (state->positionUs && *state->positionUs % second == 0) {
                const bool agrees = kept && *kept >= *state->positionUs - second / 4 &&
                                    *kept < *state->positionUs + second + second / 4;
                state->positionUs = agrees ? *kept : *state->positionUs + second / 2;
            }
            m_states.remember(player, *state);
            if (!state->positionUs) {
                m_states.expectSeeked(player);
                return {MprisClient::seekRelative(m_registry.bus(), player, deltaUs,
                                                  remaining(deadline))};
            }
            return {moveTo(player, MprisClient::clampedTarget(*state, *state->positionUs, deltaUs),
                           deadline)};
        }
        m_states.remember(player, *state);
        m_states.expectSeeked(player);
        // A position read while our last seek is still under way can be the one from before
        // it: clamping from there could undo that seek. A relative seek starts from where the
        // player really is, but only keeps inside the track when the step lands well inside
        // it; near an end the clamped move wins.
        if (seekInFlight && landsWellInside(*state, deltaUs)) {
            return {
                MprisClient::seekRelative(m_registry.bus(), player, deltaUs, remaining(deadline))};
        }
        return {MprisClient::seekFrom(m_registry.bus(), player, *state, seconds,
                                      remaining(deadline), stepping)};
    }
    return {failed ? SeekResult::error : SeekResult::notPlaying};
}

SeekResult MprisPlayerControl::moveTo(const QString& player, qint64 positionUs,
                                      const QDeadlineTimer& deadline) {
    m_registry.markActive(player);
    const std::optional<MprisClient::State> known = m_states.known(player);
    m_states.sentPosition(player, positionUs);
    return MprisClient::setPosition(m_registry.bus(), player, known ? known->trackId : std::nullopt,
                                    positionUs, remaining(deadline));
}

SeekResult MprisPlayerControl::playPause(MediaApp app, double timeout) {
    const QDeadlineTimer deadline(milliseconds(timeout));
    const QStringList players = m_registry.playersOf(app);
    if (players.isEmpty()) {
        return SeekResult::error;
    }
    QString target = players.constFirst(); // the most recently active, unless one plays
    if (players.size() > 1) {
        for (const QString& player : players) {
            const auto state =
                MprisClient::readState(m_registry.bus(), player, remaining(deadline));
            if (state && state->isPlaying()) {
                target = player;
                break;
            }
        }
    }
    m_registry.markActive(target);
    return MprisClient::playPause(m_registry.bus(), target, remaining(deadline));
}

std::optional<NowPlaying> MprisPlayerControl::nowPlaying(MediaApp app, double timeout) {
    const QDeadlineTimer deadline(milliseconds(timeout));
    for (const QString& player : m_registry.playersOf(app)) {
        const auto state = MprisClient::readState(m_registry.bus(), player, remaining(deadline));
        if (state && state->isPlaying()) {
            NowPlaying playing = MprisClient::nowPlaying(*state);
            playing.app = app;
            // Named as the seek feedback names it.
            if (app == MediaApp::otherPlayers) {
                playing.playerName = m_registry.identityOf(player);
            }
            return playing;
        }
    }
    return std::nullopt;
}

PermissionStatus MprisPlayerControl::probe(const PermissionItem& item, double timeout) {
    const std::optional<MediaApp> app = item.app;
    if (!app) {
        return PermissionStatus::unknown;
    }
    const QStringList players = m_registry.playersOf(*app);
    // A browser without a media session, like a player that has gone, has nothing to control.
    if (players.isEmpty()) {
        return PermissionStatus::appNotRunning;
    }
    switch (item.kind) {
    case PermissionItem::Kind::automation:
        // A player that does not answer in time (hung, or stopped) cannot be controlled.
        return MprisClient::readState(m_registry.bus(), players.constFirst(), milliseconds(timeout))
                   ? PermissionStatus::granted
                   : PermissionStatus::denied;
    case PermissionItem::Kind::browserJavaScript:
        return PermissionStatus::granted;
    case PermissionItem::Kind::accessibility:
        break;
    }
    return PermissionStatus::unknown;
}

void MprisPlayerControl::warmSeek(double /*seconds*/) {}
