#pragma once

#include "models/MediaApp.h"

#include <QString>
#include <QUuid>

#include <optional>

// What a successful request did.
enum class FeedbackKind { forward, backward, playPause };

// Where a feedback is a step of a hotkey held down: which hold, and what it has come to with
// this step.
struct HoldProgress {
    QUuid hold;
    // Signed, as the steps are.
    double totalSeconds = 0;
    int steps = 1;

    friend bool operator==(const HoldProgress&, const HoldProgress&) = default;
};

// One successful action, shown for a while by the overlay and the panel. Every feedback gets a
// fresh id, so two equal actions in a row are still two different values.
struct SeekFeedback {
    MediaApp app = MediaApp::spotify;
    FeedbackKind kind = FeedbackKind::forward;
    QUuid id;
    // The player's own name, where the app stands for players of many kinds; else empty.
    QString playerName{};
    // Set for the steps of a hotkey held down.
    std::optional<HoldProgress> hold{};

    QString shownName(MediaApp::BrowserNaming naming) const {
        return playerName.isEmpty() ? app.displayName(naming) : playerName;
    }
    // Whether this is a hold that has gone past its first step, and so has a total to show.
    bool showsTotal() const { return hold && hold->steps > 1; }
    // The hold's total as the user reads it, such as "+40s" or "-7.5s"; empty where there is
    // no total to show.
    QString totalText() const;

    friend bool operator==(const SeekFeedback&, const SeekFeedback&) = default;
};
