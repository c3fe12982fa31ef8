#pragma once

#include "platform/PlayerControl.h"

#include <QDeadlineTimer>

class MprisPlayerRegistry;
class MprisPlayerStates;

// Drives the media apps' MPRIS players, browsers by SetPosition and every other player by
// relative Seek. Where an app has several players (two Chrome-family browsers, VLC and mpv),
// the playing one is used, else the most recently active.
class MprisPlayerControl : public PlayerControl {
public:
    explicit MprisPlayerControl(MprisPlayerRegistry& registry);

    SeekAnswer seekIfPlaying(MediaApp app, double seconds, double timeout) override;
    SeekResult playPause(MediaApp app, double timeout) override;
    std::optional<NowPlaying> nowPlaying(MediaApp app, double timeout) override;
    // Automation: the app's player answers a property read in time. Chrome's JavaScript: Chrome
    // has a player at all (without one its media integration is off).
    PermissionStatus probe(const PermissionItem& item, double timeout) override;
    // Nothing to prepare: there are no scripts to build.
    void warmSeek(double seconds) override;

private:
    // Whether the player's last announcement heard on this thread's own connection, fresher
    // than the registry's, still lets it count as playing.
    bool stillPlaying(const QString& player) const;
    // The seek itself; seekIfPlaying names the player where its app does not.
    SeekAnswer seekOnce(MediaApp app, double seconds, double timeout);
    // SetPosition, with the track id last known (browsers ignore it).
    SeekResult moveTo(const QString& player, qint64 positionUs, const QDeadlineTimer& deadline);

    MprisPlayerRegistry& m_registry;
    MprisPlayerStates& m_states;
};
