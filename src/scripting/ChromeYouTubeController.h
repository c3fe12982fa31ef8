#pragma once

#include "models/UserAlert.h"

#include <QString>

class ScriptResult;

// YouTube in Google Chrome, reached through JavaScript that Chrome's AppleScript runs in a tab.
// Every script text is rebuilt on each call and depends only on its seconds.
class ChromeYouTubeController {
public:
    ChromeYouTubeController() = delete;

    // The parts of the scripts.
    struct JS {
        // The AppleScript condition that picks YouTube tabs by their URL.
        static QString urlCheck();
        // Answers 'novideo', 'buffering' (still loading), 'true' (paused) or 'false'.
        static QString pausedJS();
        // Moves the video by the seconds, kept between 0 and the video's duration.
        static QString seekJS(double seconds);
        // Plays a paused video and pauses a playing one; answers 'ok' or 'novideo'.
        static QString toggleJS();
        // The title of a playing video, or ''.
        static QString titleJS();
    };

    // Seeks the first YouTube tab whose video plays, the front tab first; answers "true",
    // "false" when none plays, "error" when Chrome cannot count its windows.
    static QString scriptSource(double seconds);
    // Toggles the first YouTube tab, the front tab first, even one without a video; answers
    // "true", or "false" when there is no YouTube tab.
    static QString playPauseScript();
    // The title of the video playing in the front tab, or "".
    static QString nowPlayingScript();

    // True when the run failed because Chrome's "Allow JavaScript from Apple Events" is off.
    static bool isJavaScriptOff(const ScriptResult& result);

    // Tells the user how to allow JavaScript from Apple Events.
    static UserAlert jsPermissionAlert();
};
