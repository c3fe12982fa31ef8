#pragma once

#include "models/MediaApp.h"

#include <QString>
#include <QUuid>

// What a successful request did.
enum class FeedbackKind { forward, backward, playPause };

// One successful action, shown for a while by the overlay and the panel. Every feedback gets a
// fresh id, so two equal actions in a row are still two different values.
struct SeekFeedback {
    MediaApp app = MediaApp::spotify;
    FeedbackKind kind = FeedbackKind::forward;
    QUuid id;
    // The player's own name, where the app stands for players of many kinds; else empty.
    QString playerName{};

    QString shownName() const { return playerName.isEmpty() ? app.displayName() : playerName; }

    friend bool operator==(const SeekFeedback&, const SeekFeedback&) = default;
};

// What a player is playing.
struct NowPlaying {
    QString title;
    QString artist; // may be empty
    MediaApp app = MediaApp::spotify;
    // The player's own name, where the app stands for players of many kinds; else empty.
    QString playerName{};

    QString shownName() const { return playerName.isEmpty() ? app.displayName() : playerName; }

    // Splits a player's "title - artist" answer at the first " - ". When that leaves anything
    // but two non-empty pieces, the whole text is the title and the artist is empty. Browser
    // titles take the same rule, so "Song - Band" shows as title "Song", artist "Band".
    static NowPlaying fromText(MediaApp app, const QString& text,
                               const QString& playerName = QString());

    friend bool operator==(const NowPlaying&, const NowPlaying&) = default;
};
