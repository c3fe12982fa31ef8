#include "ScriptedEngine.h"

#include <chrono>
#include <condition_variable>
#include <mutex>

struct ScriptedEngine::State {
    std::mutex mutex;
    std::condition_variable changed;
    Responder responder = [](const QString&) {
        return noText();
    };
    QSet<QString> unbuildable;
    QHash<QString, int> builds;
    QList<const Script*> runs;
    QStringList ranSources;
    int toHold = 0;
    int inProgress = 0;
    // Bumped by each release; a held run waits for the number it saw to change, so a later
    // holdNextRuns() never catches a run that was already let go.
    int releases = 0;

    Reply run(const Script* script, const QString& source) {
        std::unique_lock lock(mutex);
        runs << script;
        ranSources << source;
        ++inProgress;
        changed.notify_all();
        if (toHold > 0) {
            --toHold;
            const int seen = releases;
            changed.wait(lock, [this, seen] { return releases != seen; });
        }
        const Responder respond = responder;
        lock.unlock();
        Reply reply = respond(source);
        lock.lock();
        --inProgress;
        changed.notify_all();
        return reply;
    }
};

class ScriptedEngine::ScriptedScript : public ScriptEngine::Script {
public:
    ScriptedScript(std::shared_ptr<State> state, QString source)
        : m_state(std::move(state))
        , m_source(std::move(source)) {}

    Reply run() override { return m_state->run(this, m_source); }

private:
    std::shared_ptr<State> m_state;
    QString m_source;
};

ScriptEngine::Reply ScriptedEngine::text(const QString& answer) {
    Reply reply;
    reply.text = answer;
    return reply;
}

ScriptEngine::Reply ScriptedEngine::noText() {
    return {};
}

ScriptEngine::Reply ScriptedEngine::error(std::optional<std::int64_t> number,
                                          std::optional<QString> message) {
    Reply reply;
    reply.failed = true;
    reply.errorNumber = number;
    reply.errorMessage = std::move(message);
    return reply;
}

ScriptedEngine::ScriptedEngine()
    : m_state(std::make_shared<State>()) {}

// A run still held would otherwise wait for ever.
ScriptedEngine::~ScriptedEngine() {
    release();
}

std::shared_ptr<ScriptEngine::Script> ScriptedEngine::build(const QString& source) {
    std::lock_guard lock(m_state->mutex);
    ++m_state->builds[source];
    if (m_state->unbuildable.contains(source)) {
        return nullptr;
    }
    return std::make_shared<ScriptedScript>(m_state, source);
}

void ScriptedEngine::answer(const Reply& reply) {
    respond([reply](const QString&) { return reply; });
}

void ScriptedEngine::respond(Responder responder) {
    std::lock_guard lock(m_state->mutex);
    m_state->responder = std::move(responder);
}

void ScriptedEngine::refuseToBuild(const QString& source) {
    std::lock_guard lock(m_state->mutex);
    m_state->unbuildable.insert(source);
}

void ScriptedEngine::allowToBuild(const QString& source) {
    std::lock_guard lock(m_state->mutex);
    m_state->unbuildable.remove(source);
}

void ScriptedEngine::holdNextRuns(int count) {
    std::lock_guard lock(m_state->mutex);
    m_state->toHold = count;
}

void ScriptedEngine::release() {
    {
        std::lock_guard lock(m_state->mutex);
        m_state->toHold = 0;
        ++m_state->releases;
    }
    m_state->changed.notify_all();
}

QSet<QString> ScriptedEngine::builtSources() const {
    std::lock_guard lock(m_state->mutex);
    const QList<QString> sources = m_state->builds.keys();
    return QSet<QString>(sources.begin(), sources.end());
}

int ScriptedEngine::builds(const QString& source) const {
    std::lock_guard lock(m_state->mutex);
    return m_state->builds.value(source);
}

QList<const ScriptEngine::Script*> ScriptedEngine::runs() const {
    std::lock_guard lock(m_state->mutex);
    return m_state->runs;
}

QStringList ScriptedEngine::ranSources() const {
    std::lock_guard lock(m_state->mutex);
    return m_state->ranSources;
}

int ScriptedEngine::runsInProgress() const {
    std::lock_guard lock(m_state->mutex);
    return m_state->inProgress;
}

bool ScriptedEngine::waitForRunsInProgress(int count, int timeoutMs) const {
    std::unique_lock lock(m_state->mutex);
    return m_state->changed.wait_for(lock, std::chrono::milliseconds(timeoutMs),
                                     [this, count] { return m_state->inProgress == count; });
}
