#pragma once

#include "platform/ScriptEngine.h"

#include <QHash>
#include <QList>
#include <QSet>
#include <QString>

#include <functional>
#include <memory>

// A script engine that runs nothing: each run answers what the test told it to, and can be
// held until the test lets it go, like a player that does not answer.
class ScriptedEngine : public ScriptEngine {
public:
    using Responder = std::function<Reply(const QString& source)>;

    static Reply text(const QString& answer);
    static Reply noText();
    // An error report; either part may be left out, as a host may do.
    static Reply error(std::optional<std::int64_t> number, std::optional<QString> message);

    ScriptedEngine();
    ~ScriptedEngine() override;

    std::shared_ptr<Script> build(const QString& source) override;

    // Every run from now on answers this.
    void answer(const Reply& reply);
    // Every run from now on answers what the responder makes of its source.
    void respond(Responder responder);
    // Building this source yields nothing until allowed again.
    void refuseToBuild(const QString& source);
    void allowToBuild(const QString& source);
    // The next `count` runs wait until release() before they answer.
    void holdNextRuns(int count);
    // Lets every held run answer.
    void release();

    int builds(const QString& source) const;
    // Every source built at least once, whether or not it built.
    QSet<QString> builtSources() const;
    // The script objects in the order their runs started.
    QList<const Script*> runs() const;
    QStringList ranSources() const;
    // Runs started and not yet answered.
    int runsInProgress() const;
    // Waits (up to the time given) until this many runs are in progress.
    bool waitForRunsInProgress(int count, int timeoutMs) const;

private:
    struct State;
    class ScriptedScript;

    // Shared with the script objects, which may outlive the engine in a run still held.
    std::shared_ptr<State> m_state;
};
