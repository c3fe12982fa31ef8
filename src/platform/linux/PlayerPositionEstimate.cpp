#include "PlayerPositionEstimate.h"

#include <chrono>
#include <cstdlib>

namespace {

qint64 steadyNow() {
    return std::chrono::duration_cast<std::chrono::nanoseconds>(
               std::chrono::steady_clock::now().time_since_epoch())
        .count();
}

// Another item, even under the same track id, starts at a position not told. Some players send
// the same metadata again after every seek; that is still the same item.
bool sameItem(const MprisClient::State& a, const MprisClient::State& b) {
    return a.trackId == b.trackId && a.lengthUs == b.lengthUs && a.title == b.title;
}

} // namespace

PlayerPositionEstimate::PlayerPositionEstimate()
    : PlayerPositionEstimate(&steadyNow) {}

PlayerPositionEstimate::PlayerPositionEstimate(Clock clock)
    : m_clock(std::move(clock)) {}

void PlayerPositionEstimate::remember(const MprisClient::State& state) {
    m_known = state;
    m_knownAtNs = m_clock();
    m_holdingSinceNs.reset();
}

void PlayerPositionEstimate::applyChanges(const QVariantMap& changed) {
    if (!m_known) {
        return; // nothing to keep up to date until the player was read once
    }
    if (heldOver(changed)) {
        return;
    }
    // The position so far runs at the old state; from here on at the new one.
    reanchor();
    const MprisClient::State before = *m_known;
    MprisClient::apply(*m_known, changed);
    if (!sameItem(*m_known, before) && !changed.contains(QStringLiteral("Position"))) {
        m_known->positionUs.reset();
    }
}

void PlayerPositionEstimate::seeked(qint64 positionUs) {
    m_announcesSeeks = true;
    const bool awaitingOurMove = m_awaitingPosition && m_sentPositionAtNs &&
                                 m_clock() - *m_sentPositionAtNs <= seekFlickerNs;
    if (awaitingOurMove && m_known && m_known->positionUs) {
        constexpr qint64 wholeSecond = 1'000'000;
        constexpr qint64 sameMove = 1'500'000;
        if (std::abs(estimatedPositionUs() - positionUs) >= sameMove) {
            // An earlier move of ours, announced only now (Chromium is late so): taking it
            // would undo the moves sent since.
            return;
        }
        m_awaitingSeeked = m_awaitingPosition = false;
        if (positionUs % wholeSecond == 0) {
            return; // our own move, said less exactly than we know it
        }
    }
    m_awaitingSeeked = m_awaitingPosition = false;
    if (m_known) {
        m_known->positionUs = positionUs;
        m_knownAtNs = m_clock();
    }
}

void PlayerPositionEstimate::expectSeeked() {
    m_awaitingSeeked = true;
    m_awaitingPosition = false;
    m_ownSeekAtNs = m_clock();
}

void PlayerPositionEstimate::sentPosition(qint64 positionUs) {
    expectSeeked();
    m_awaitingPosition = true;
    m_sentPositionAtNs = m_ownSeekAtNs;
    if (m_known) {
        m_known->positionUs = positionUs;
        m_knownAtNs = *m_ownSeekAtNs;
    }
}

std::optional<qint64> PlayerPositionEstimate::targetWithoutRead(qint64 deltaUs) const {
    if (!m_known || (!m_announcesSeeks && !m_sentPositionAtNs) ||
        (m_holdingSinceNs && !isHeldOver())) {
        return std::nullopt;
    }
    const MprisClient::State& state = *m_known;
    if (!state.isPlaying() || state.refusesSeeks() || !state.positionUs) {
        return std::nullopt;
    }
    const qint64 ageUs = (m_clock() - m_knownAtNs) / 1000;
    constexpr qint64 oldest = 60'000'000;
    if (ageUs > oldest) {
        return std::nullopt;
    }
    return MprisClient::clampedTarget(state, estimatedPositionUs(), deltaUs);
}

std::optional<qint64> PlayerPositionEstimate::positionUs() const {
    if (!m_known || !m_known->positionUs) {
        return std::nullopt;
    }
    return estimatedPositionUs();
}

bool PlayerPositionEstimate::isHeldOver() const {
    return m_holdingSinceNs && m_clock() - *m_holdingSinceNs <= seekFlickerNs;
}

bool PlayerPositionEstimate::isSeekInFlight() const {
    return m_announcesSeeks && m_awaitingSeeked;
}

bool PlayerPositionEstimate::heldOver(const QVariantMap& changed) {
    MprisClient::State after = *m_known;
    MprisClient::apply(after, changed);
    const bool vanished = after.playbackStatus == QLatin1String("Stopped") &&
                          changed.contains(QStringLiteral("Metadata")) &&
                          !MprisClient::isUsableTrack(after.trackId);
    if (m_holdingSinceNs) {
        if (isHeldOver() && vanished) {
            return true; // said again
        }
        if (isHeldOver() && after.isPlaying() && sameItem(after, *m_known)) {
            m_holdingSinceNs.reset(); // back, where the position ran on meanwhile
            return false;
        }
        // Not the moment we held over after all: what the player is now is read again.
        m_holdingSinceNs.reset();
        m_known.reset();
        return true;
    }
    const qint64 now = m_clock();
    const bool afterOurSeek = m_ownSeekAtNs && now - *m_ownSeekAtNs <= seekFlickerNs;
    if (vanished && afterOurSeek && m_known->isPlaying() &&
        MprisClient::isUsableTrack(m_known->trackId)) {
        reanchor();
        m_holdingSinceNs = now;
        return true;
    }
    return false;
}

bool PlayerPositionEstimate::canSeekRelatively(qint64 deltaUs) const {
    if (!m_known || !m_announcesSeeks || m_awaitingSeeked || (m_holdingSinceNs && !isHeldOver())) {
        return false;
    }
    const MprisClient::State& state = *m_known;
    // A step needs no track id, but a player at "no track" plays nothing to step in.
    const bool noTrack =
        state.trackId == QStringLiteral("/org/mpris/MediaPlayer2/TrackList/NoTrack");
    if (!state.isPlaying() || state.refusesSeeks() || noTrack || !state.lengthUs ||
        *state.lengthUs <= 0 || !state.positionUs) {
        return false;
    }
    const qint64 ageUs = (m_clock() - m_knownAtNs) / 1000;
    constexpr qint64 oldest = 60'000'000;
    if (ageUs > oldest) {
        return false;
    }
    // Stalls and rate changes make a guess drift; keep well away from both ends.
    const qint64 margin = 2'000'000 + ageUs / 10;
    const qint64 target = estimatedPositionUs() + deltaUs;
    return target >= margin && target <= *state.lengthUs - margin;
}

qint64 PlayerPositionEstimate::estimatedPositionUs() const {
    const qint64 base = m_known->positionUs.value_or(0);
    if (!m_known->isPlaying()) {
        return base;
    }
    const double elapsedUs = static_cast<double>(m_clock() - m_knownAtNs) / 1000;
    return base + static_cast<qint64>(elapsedUs * m_known->rate);
}

void PlayerPositionEstimate::reanchor() {
    if (m_known->positionUs) {
        m_known->positionUs = estimatedPositionUs();
    }
    m_knownAtNs = m_clock();
}
