#pragma once

#include "platform/LoginItem.h"
#include "platform/PlatformProfile.h"

#include <memory>

class AppSettings;
class MediaController;
class MediaStatus;
class PlayerControl;

// The settings and the media side: what the tray program and a command line run alone both
// need, made one way for both, in the order they depend on each other. Members go in the
// reverse order: the controller before the status it reports to, both before the settings.
struct MediaStack {
    MediaStack();
    MediaStack(MediaStack&&) noexcept;
    MediaStack& operator=(MediaStack&&) noexcept;
    ~MediaStack();

    // Asks the platform for its profile, the settings store, the players and the running apps;
    // the settings offer the profile's apps. They switch `loginItem` for launch at login; a
    // command line run has none to switch.
    static MediaStack build(std::unique_ptr<LoginItem> loginItem);

    PlatformProfile profile;
    std::unique_ptr<AppSettings> settings;
    std::shared_ptr<PlayerControl> players;
    std::unique_ptr<MediaStatus> status;
    std::unique_ptr<MediaController> controller;
};
