#pragma once

#include "models/PermissionItem.h"

#include <QString>

class ScriptResult;

// The harmless scripts that find out whether a target answers Scrubline, and what their
// answers mean.
namespace PermissionProbes {

// Asks the application for its name.
QString automationProbe(const QString& appName);
// Runs "1+1" in Chrome's front tab; answers "nowindow" when there is no window to try.
QString chromeJavaScriptProbe();

// Any answer is granted, a refused Apple event denied, anything else (a time-out included)
// unknown.
PermissionStatus automationStatus(const ScriptResult& result);
// "nowindow" is unknown (nothing to try it on), any other answer granted; a refusal of
// JavaScript or of Apple events is denied, anything else unknown.
PermissionStatus chromeJavaScriptStatus(const ScriptResult& result);

} // namespace PermissionProbes
