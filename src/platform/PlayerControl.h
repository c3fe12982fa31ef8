#pragma once

#include "models/MediaApp.h"
#include "services/PermissionItem.h"
#include "services/SeekResult.h"

#include <QString>

#include <optional>

// Drives one media app on this platform. Every call blocks for at most `timeout` seconds and
// answers a verdict; none throws. Calls may come from several threads at once.
class PlayerControl {
public:
    struct SeekAnswer {
        SeekResult result = SeekResult::error;
        // Chrome refused to run JavaScript in the page: the user has to allow it.
        bool javaScriptOff = false;

        friend bool operator==(const SeekAnswer&, const SeekAnswer&) = default;
    };

    virtual ~PlayerControl() = default;

    // Moves the app's media by a non-zero signed number of seconds if it is playing.
    virtual SeekAnswer seekIfPlaying(MediaApp app, double seconds, double timeout) = 0;
    // Toggles play/pause.
    virtual SeekResult playPause(MediaApp app, double timeout) = 0;
    // "title - artist" (or a video's title) of what the app is playing; absent or empty when
    // it plays nothing or cannot tell.
    virtual std::optional<QString> nowPlayingText(MediaApp app, double timeout) = 0;
    // Whether the permission is in place. Never answers appNotRunning or checking.
    virtual PermissionStatus probe(const PermissionItem& item, double timeout) = 0;
    // Prepares whatever a seek by this many seconds will need, so the first press is fast.
    virtual void warmSeek(double seconds) = 0;
};
