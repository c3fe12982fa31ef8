#pragma once

#include "AppleScriptError.h"
#include "platform/PlayerControl.h"

#include <QString>

#include <memory>

class ScriptEngine;

// The one place that runs scripts. Every script object built is kept, keyed by its exact
// source text, so a script run again (the same seek step, the same probe) is not parsed again.
namespace AppleScriptService {

// How long callers wait for a script: as long as for any player.
constexpr double actionTimeout = PlayerControl::actionTimeout;
constexpr double nowPlayingTimeout = PlayerControl::nowPlayingTimeout;

// Builds and keeps the script object for the source unless one is kept already. Never fails:
// a source that cannot be built is simply not kept.
void precompile(const QString& source);

// Runs the source and blocks the calling thread until the script ends or `timeout` seconds
// pass, whichever is first. A run that times out is not stopped: it goes on in the background
// and its answer is dropped. Never call it on the GUI thread.
ScriptResult execute(const QString& source, double timeout);

// Sets the engine that runs every script (none at first: every run then fails) and forgets
// every kept script object, since they belong to the old engine.
void setEngine(std::shared_ptr<ScriptEngine> engine);

} // namespace AppleScriptService
