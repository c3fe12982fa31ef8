#pragma once

#include "models/MediaApp.h"
#include "models/NowPlaying.h"
#include "models/PermissionItem.h"
#include "models/SeekResult.h"
#include "models/UserAlert.h"

#include <QString>

#include <optional>

// Drives one media app on this platform. Every call blocks for at most `timeout` seconds and
// answers a verdict; none throws. Calls may come from several threads at once.
class PlayerControl {
public:
    struct SeekAnswer {
        SeekResult result = SeekResult::error;
        // Something only the user can put right, such as a browser that refuses to run
        // JavaScript in the page; the caller shows it.
        std::optional<UserAlert> alert{};
        // The player's own name, where the app stands for players of many kinds; empty where
        // the app's name says which player it was.
        QString playerName{};

        friend bool operator==(const SeekAnswer&, const SeekAnswer&) = default;
    };

    // How long callers wait for a seek, a play/pause or a permission probe...
    static constexpr double actionTimeout = 3.0;
    // ...and for a now-playing query, which nobody waits on.
    static constexpr double nowPlayingTimeout = 2.0;

    virtual ~PlayerControl() = default;

    // Moves the app's media by a non-zero signed number of seconds if it is playing.
    virtual SeekAnswer seekIfPlaying(MediaApp app, double seconds, double timeout) = 0;
    // Toggles play/pause.
    virtual SeekResult playPause(MediaApp app, double timeout) = 0;
    // What the app is playing, its player named where the app stands for players of many
    // kinds; absent, or with an empty title, when it plays nothing or cannot tell.
    virtual std::optional<NowPlaying> nowPlaying(MediaApp app, double timeout) = 0;
    // Whether the permission is in place. Never answers appNotRunning or checking.
    virtual PermissionStatus probe(const PermissionItem& item, double timeout) = 0;
    // Prepares whatever a seek by this many seconds will need, so the first press is fast.
    virtual void warmSeek(double seconds) = 0;
};
