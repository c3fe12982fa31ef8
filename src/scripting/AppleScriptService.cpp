#include "AppleScriptService.h"

#include "platform/ScriptEngine.h"
#include "utilities/ConcurrentQueue.h"
#include "utilities/Logger.h"

#include <QHash>
#include <QSemaphore>

#include <cmath>
#include <mutex>

namespace {

ScriptResult resultOf(const ScriptEngine::Reply& reply) {
    if (reply.failed) {
        return ScriptResult::failure(AppleScriptError::executionFailed(
            reply.errorNumber.value_or(-1),
            reply.errorMessage.value_or(QStringLiteral("Unknown error"))));
    }
    return ScriptResult::success(reply.text);
}

// Shared by the waiting caller and the worker, which may outlive the caller's wait. Qt's
// semaphore blocks in the kernel on every platform; some standard libraries poll instead.
struct ResultBox {
    std::mutex lock;
    std::optional<ScriptResult> value;
    QSemaphore done;
};

// Whole milliseconds, rounded up so that a wait never ends before the time-out. A day stands in
// for longer waits; NaN waits not at all.
int waitMilliseconds(double seconds) {
    constexpr double longest = 24 * 60 * 60;
    return seconds > 0 ? static_cast<int>(std::ceil(std::min(seconds, longest) * 1000)) : 0;
}

} // namespace

AppleScriptService::AppleScriptService(std::shared_ptr<ScriptEngine> engine)
    : m_engine(std::move(engine)) {}

AppleScriptService::~AppleScriptService() = default;

// Building only wraps the text (the script compiles on its first run), so it is done under the
// lock: each source is built once however many threads ask for it at the same time.
std::shared_ptr<ScriptEngine::Script> AppleScriptService::scriptFor(const QString& source) {
    std::lock_guard lock(m_mutex);
    if (auto found = m_scripts.constFind(source); found != m_scripts.cend()) {
        return found.value();
    }
    std::shared_ptr<ScriptEngine::Script> script = m_engine ? m_engine->build(source) : nullptr;
    if (script) {
        m_scripts.insert(source, script);
    }
    return script;
}

void AppleScriptService::precompile(const QString& source) {
    scriptFor(source);
}

ScriptResult AppleScriptService::execute(const QString& source, double timeout) {
    std::shared_ptr<ScriptEngine::Script> script = scriptFor(source);
    if (!script) {
        return ScriptResult::failure(AppleScriptError::compilationFailed());
    }

    auto box = std::make_shared<ResultBox>();
    // The run keeps the engine it came from: it may go on after this service is gone.
    const bool started = ConcurrentQueue::userInitiated().async([box, script, engine = m_engine] {
        (void)engine;
        ScriptResult result = resultOf(script->run());
        {
            std::lock_guard lock(box->lock);
            box->value = std::move(result);
        }
        box->done.release();
    });
    if (!started) {
        qCCritical(Log::script(), "AppleScript not run: no thread could be started");
        return ScriptResult::failure(
            AppleScriptError::executionFailed(-1, QStringLiteral("Unknown error")));
    }

    if (!box->done.tryAcquire(1, waitMilliseconds(timeout))) {
        qCCritical(Log::script(), "AppleScript TIMEOUT after %.*fs", 0, timeout);
        return ScriptResult::failure(AppleScriptError::timeout());
    }

    std::lock_guard lock(box->lock);
    if (!box->value) {
        return ScriptResult::failure(
            AppleScriptError::executionFailed(-1, QStringLiteral("Unknown")));
    }
    return *std::move(box->value);
}
