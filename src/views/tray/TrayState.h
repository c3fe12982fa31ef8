#pragma once

#include "models/MediaApp.h"
#include "models/NowPlaying.h"
#include "models/SeekFeedback.h"

#include <QMetaType>
#include <QString>

#include <optional>

class MediaStatus;

// Which line the panel's state section shows.
enum class TrayState {
    feedback,   // what the last request did
    status,     // a problem
    nowPlaying, // what is playing
    noMedia,    // nothing was ever acted on
    lastApp,    // the app acted on last
};

// A feedback wins over a problem, a problem over what is playing, and that over the last app;
// with none of them the panel says there is no media.
TrayState trayState(const std::optional<SeekFeedback>& feedback,
                    const std::optional<QString>& statusMessage,
                    const std::optional<NowPlaying>& nowPlaying,
                    const std::optional<MediaApp>& lastActiveApp);
TrayState trayState(const MediaStatus& status);

// The state's name, for logs and test messages.
QString trayStateName(TrayState state);
