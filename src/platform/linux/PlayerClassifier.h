#pragma once

#include "models/MediaApp.h"

#include <QLatin1String>
#include <QString>

#include <optional>

// Which media app an MPRIS player stands for, by its bus name and the program that owns it:
// Spotify and Firefox by their names; Chrome by a name of the Chromium family and a browser's
// program owning it, since Electron apps take the same names; "Other players" for every other
// player. Never by the player's Identity, which some players translate.
namespace PlayerClassifier {

inline constexpr QLatin1String namePrefix{"org.mpris.MediaPlayer2."};

// Whether the bus name is an MPRIS player's.
bool isPlayerName(const QString& busName);
// Absent for a name that is no player's. `ownerProgram`: the path of the owner's executable,
// empty where unknown.
std::optional<MediaApp> classify(const QString& busName, const QString& ownerProgram);
// Whether the program owning a player must be known to classify it.
bool needsOwnerProgram(const QString& busName);

} // namespace PlayerClassifier
