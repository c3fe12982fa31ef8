#pragma once

#include "AppleScriptService.h"
#include "scripting/ScriptVerdicts.h"

#include <QString>

// YouTube in Safari, reached through JavaScript that Safari's AppleScript runs in a tab. Every
// script text is rebuilt on each call and depends only on its seconds.
class SafariYouTubeController {
public:
    SafariYouTubeController() = delete;

    // The parts of the scripts. Unlike Chrome's, they are one line each, the paused test has
    // no 'buffering' answer and the seek clamps only at 0.
    struct JS {
        static QString pausedJS();
        static QString seekJS(double seconds);
        static QString toggleJS();
        static QString titleJS();
    };

    // Seeks the first YouTube tab whose video plays, the front tab first; answers "true",
    // "false" when none plays, "error" when Safari cannot count its windows.
    static QString scriptSource(double seconds);
    // Toggles the first YouTube tab, the front tab first; answers "true" or "false".
    static QString toggleScript();
    // The title of the video playing in the front tab, or "".
    static QString nowPlayingScript();

    // Runs the toggle script for at most `timeout` seconds.
    static SeekResult togglePlayPause(AppleScriptService& scripts,
                                      double timeout = AppleScriptService::actionTimeout);
};
