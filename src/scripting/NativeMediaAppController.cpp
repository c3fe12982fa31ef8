#include "NativeMediaAppController.h"

#include "AppleScriptService.h"
#include "ScriptSeconds.h"

namespace NativeScripts {

QString seekScript(QStringView appName, double seconds) {
    return QStringLiteral("tell application \"") + appName.toString() +
           QStringLiteral("\"\n"
                          "    if player state is playing then\n"
                          "        set newPos to (player position) + (") +
           scriptSeconds(seconds) +
           QStringLiteral(")\n"
                          "        if newPos < 0 then set newPos to 0\n"
                          "        set player position to newPos\n"
                          "        return \"true\"\n"
                          "    end if\n"
                          "end tell\n"
                          "return \"false\"");
}

QString playPauseScript(QStringView appName) {
    return QStringLiteral("tell application \"") + appName.toString() +
           QStringLiteral("\"\n"
                          "    playpause\n"
                          "end tell\n"
                          "return \"ok\"");
}

QString nowPlayingScript(QStringView appName) {
    return QStringLiteral("tell application \"") + appName.toString() +
           QStringLiteral("\"\n"
                          "    if player state is playing then\n"
                          "        set trackName to name of current track\n"
                          "        set trackArtist to artist of current track\n"
                          "        return trackName & \" - \" & trackArtist\n"
                          "    end if\n"
                          "end tell\n"
                          "return \"\"");
}

SeekResult seekIfPlaying(AppleScriptService& scripts, QStringView appName, double seconds,
                         double timeout) {
    return seekResultOfAnswer(scripts.execute(seekScript(appName, seconds), timeout));
}

} // namespace NativeScripts
