#pragma once

#include "AppleScriptService.h"
#include "platform/PlayerControl.h"

#include <memory>

// Drives the players with AppleScript through the script runner: the native scripts for
// Spotify and Music, JavaScript in a YouTube tab for Chrome and Safari.
class ScriptedPlayerControl : public PlayerControl {
public:
    // Runs every script with `engine`; without one every script fails.
    explicit ScriptedPlayerControl(std::shared_ptr<ScriptEngine> engine);

    SeekAnswer seekIfPlaying(MediaApp app, double seconds, double timeout) override;
    SeekResult playPause(MediaApp app, double timeout) override;
    std::optional<NowPlaying> nowPlaying(MediaApp app, double timeout) override;
    PermissionStatus probe(const PermissionItem& item, double timeout) override;
    // Keeps the seek scripts of all four apps for this step.
    void warmSeek(double seconds) override;

private:
    AppleScriptService m_scripts;
};
