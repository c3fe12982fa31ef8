#include "AppleScriptService.h"

#include "platform/Platform.h"
#include "platform/ScriptEngine.h"
#include "utilities/ConcurrentQueue.h"
#include "utilities/Logger.h"

#include <QHash>

#include <chrono>
#include <mutex>
#include <semaphore>

namespace AppleScriptService {
namespace {

// The engine and the script objects built by it, shared by every thread. Nothing is ever
// evicted: there is one entry per step size and player, a few dozen at most.
struct ScriptCache {
    std::mutex mutex;
    bool engineChosen = false;
    std::shared_ptr<ScriptEngine> engine;
    QHash<QString, std::shared_ptr<ScriptEngine::Script>> scripts;
};

ScriptCache& scriptCache() {
    // Never destroyed: a timed-out run may still hold the engine when the process exits.
    static auto* cache = new ScriptCache;
    return *cache;
}

std::shared_ptr<ScriptEngine> engineLocked(ScriptCache& cache) {
    if (!cache.engineChosen) {
        cache.engine = Platform::createScriptEngine();
        cache.engineChosen = true;
    }
    return cache.engine;
}

// The kept object for the source, built and kept on first use; null when it cannot be built.
// Building only wraps the text (the script compiles on its first run), so it is done under
// the lock: each source is built once however many threads ask for it at the same time.
std::shared_ptr<ScriptEngine::Script> scriptFor(const QString& source) {
    ScriptCache& cache = scriptCache();
    std::lock_guard lock(cache.mutex);
    if (auto found = cache.scripts.constFind(source); found != cache.scripts.cend()) {
        return found.value();
    }
    const std::shared_ptr<ScriptEngine> engine = engineLocked(cache);
    std::shared_ptr<ScriptEngine::Script> script = engine ? engine->build(source) : nullptr;
    if (script) {
        cache.scripts.insert(source, script);
    }
    return script;
}

ScriptResult resultOf(const ScriptEngine::Reply& reply) {
    if (reply.failed) {
        return ScriptResult::failure(AppleScriptError::executionFailed(
            reply.errorNumber.value_or(-1),
            reply.errorMessage.value_or(QStringLiteral("Unknown error"))));
    }
    return ScriptResult::success(reply.text);
}

// Shared by the waiting caller and the worker, which may outlive the caller's wait.
struct ResultBox {
    std::mutex lock;
    std::optional<ScriptResult> value;
    std::binary_semaphore done{0};
};

std::chrono::steady_clock::time_point deadlineAfter(double seconds) {
    // A day stands in for longer waits, which would overflow the clock; NaN waits not at all.
    constexpr double longest = 24 * 60 * 60;
    const double wait = seconds > 0 ? std::min(seconds, longest) : 0;
    return std::chrono::steady_clock::now() +
           std::chrono::duration_cast<std::chrono::steady_clock::duration>(
               std::chrono::duration<double>(wait));
}

} // namespace

void precompile(const QString& source) {
    scriptFor(source);
}

ScriptResult execute(const QString& source, double timeout) {
    std::shared_ptr<ScriptEngine::Script> script = scriptFor(source);
    if (!script) {
        return ScriptResult::failure(AppleScriptError::compilationFailed());
    }

    auto box = std::make_shared<ResultBox>();
    ConcurrentQueue::userInitiated().async([box, script] {
        ScriptResult result = resultOf(script->run());
        {
            std::lock_guard lock(box->lock);
            box->value = std::move(result);
        }
        box->done.release();
    });

    if (!box->done.try_acquire_until(deadlineAfter(timeout))) {
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

void setEngine(std::shared_ptr<ScriptEngine> engine) {
    ScriptCache& cache = scriptCache();
    std::lock_guard lock(cache.mutex);
    cache.engine = std::move(engine);
    cache.engineChosen = true;
    cache.scripts.clear();
}

} // namespace AppleScriptService
