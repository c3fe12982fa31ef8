#pragma once

#include "models/SeekResult.h"

class ScriptResult;

// The verdict of a script that answers "true" when it acted: "true" is seeked, any other
// answer or none is notPlaying, a refused Apple event is permissionDenied, any other failure
// (a time-out included) is error.
SeekResult seekResultOfAnswer(const ScriptResult& result);
// The verdict of a native play/pause script, which acts on the player whatever its state: any
// answer is seeked.
SeekResult seekResultOfPlayPause(const ScriptResult& result);
