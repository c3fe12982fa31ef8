#pragma once

#include "MediaApp.h"

#include <QString>
#include <QStringList>

// What a player is playing, as the player says it: the title whole and each artist apart, so
// that a title with " - " in it is never taken for a title and an artist.
struct NowPlaying {
    QString title;
    QStringList artists{}; // may be empty
    MediaApp app = MediaApp::spotify;
    // The player's own name, where the app stands for players of many kinds; else empty.
    QString playerName{};

    QString shownName(MediaApp::BrowserNaming naming) const {
        return playerName.isEmpty() ? app.displayName(naming) : playerName;
    }
    // Nothing to show: a player that plays nothing, or cannot tell what.
    bool isEmpty() const { return title.isEmpty(); }

    friend bool operator==(const NowPlaying&, const NowPlaying&) = default;
};
