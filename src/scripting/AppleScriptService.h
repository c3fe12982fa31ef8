#pragma once

#include "AppleScriptError.h"
#include "platform/PlayerControl.h"
#include "platform/ScriptEngine.h"

#include <QHash>
#include <QString>

#include <memory>
#include <mutex>

// The one place that runs scripts, over the engine it was made with. Every script object built
// is kept, keyed by its exact source text, so a script run again (the same seek step, the same
// probe) is not parsed again. May be used from any thread.
class AppleScriptService {
public:
    // How long callers wait for a script: as long as for any player.
    static constexpr double actionTimeout = PlayerControl::actionTimeout;
    static constexpr double nowPlayingTimeout = PlayerControl::nowPlayingTimeout;

    // Without an engine every run fails, as a script that cannot be built.
    explicit AppleScriptService(std::shared_ptr<ScriptEngine> engine);
    ~AppleScriptService();
    AppleScriptService(const AppleScriptService&) = delete;
    AppleScriptService& operator=(const AppleScriptService&) = delete;

    // Builds and keeps the script object for the source unless one is kept already. Never
    // fails: a source that cannot be built is simply not kept.
    void precompile(const QString& source);

    // Runs the source and blocks the calling thread until the script ends or `timeout` seconds
    // pass, whichever is first. A run that times out is not stopped: it goes on in the
    // background and its answer is dropped. Never call it on the GUI thread.
    ScriptResult execute(const QString& source, double timeout);

private:
    std::shared_ptr<ScriptEngine::Script> scriptFor(const QString& source);

    const std::shared_ptr<ScriptEngine> m_engine;
    // Nothing is ever evicted: there is one entry per step size and player, a few dozen at most.
    std::mutex m_mutex;
    QHash<QString, std::shared_ptr<ScriptEngine::Script>> m_scripts;
};
