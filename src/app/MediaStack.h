#pragma once

#include "platform/LoginItem.h"
#include "platform/PlatformProfile.h"
#include "platform/PlatformTexts.h"

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
    // command line run has none to switch. The controller words a refused permission as
    // `texts` say.
    static MediaStack build(std::unique_ptr<LoginItem> loginItem, const PlatformTexts& texts);
    // For a command line run's one request: no login item, and the players that run already
    // are all known before it is tried, which the running apps find without waiting on the bus.
    static MediaStack buildForOneRequest();

    PlatformProfile profile;
    std::unique_ptr<AppSettings> settings;
    std::shared_ptr<PlayerControl> players;
    std::unique_ptr<MediaStatus> status;
    std::unique_ptr<MediaController> controller;
};
