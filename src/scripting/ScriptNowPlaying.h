#pragma once

#include "models/NowPlaying.h"

#include <QString>

// What the now-playing scripts answer, taken apart into a title and its artists. The scripts
// can only answer text, and their texts never change, so the parting is done here.
namespace ScriptNowPlaying {

// A native player's "name - artist" of its current track. The artist is what follows the last
// " - ": titles ("Song - Live") have the separator far more often than artists do. An answer
// without an artist is all title.
NowPlaying fromTrackAnswer(MediaApp app, const QString& answer);

// A video's title, which has no artist of its own: a "Song - Band" title is shown as the song by
// the band, as a music video's usually is; any other title is shown whole.
NowPlaying fromVideoTitle(MediaApp app, const QString& title);

} // namespace ScriptNowPlaying
