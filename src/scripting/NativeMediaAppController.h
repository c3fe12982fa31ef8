#pragma once

#include "AppleScriptService.h"
#include "scripting/ScriptVerdicts.h"

#include <QString>
#include <QStringView>

// The scripts of the native music players. One template each, differing only in the
// application name on the `tell` line.
namespace NativeScripts {

// Answers "true" after seeking a playing player (never before position 0), else "false".
QString seekScript(QStringView appName, double seconds);
// Toggles the player whatever its state and answers "ok".
QString playPauseScript(QStringView appName);
// Answers "title - artist" of a playing track, else "".
QString nowPlayingScript(QStringView appName);

// Seeks the named player by a non-zero number of seconds if it is playing. Blocks for at most
// `timeout` seconds.
SeekResult seekIfPlaying(AppleScriptService& scripts, QStringView appName, double seconds,
                         double timeout);

} // namespace NativeScripts

// A native player that takes the shared scripts. Players are types without instances; each
// names the application its scripts address.
template <class Player>
struct NativeMediaAppController {
    static SeekResult seekIfPlaying(AppleScriptService& scripts, double seconds,
                                    double timeout = AppleScriptService::actionTimeout) {
        return NativeScripts::seekIfPlaying(scripts, Player::appName, seconds, timeout);
    }
    static QString seekScript(double seconds) {
        return NativeScripts::seekScript(Player::appName, seconds);
    }
    static QString playPauseScript() { return NativeScripts::playPauseScript(Player::appName); }
    static QString nowPlayingScript() { return NativeScripts::nowPlayingScript(Player::appName); }
};

struct SpotifyController : NativeMediaAppController<SpotifyController> {
    static constexpr QStringView appName = u"Spotify";
};

struct MusicController : NativeMediaAppController<MusicController> {
    static constexpr QStringView appName = u"Music";
};
