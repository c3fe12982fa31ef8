#include "ScriptVerdicts.h"

#include "AppleScriptError.h"

namespace {

SeekResult failureVerdict(const ScriptResult& result) {
    return result.failedWith(ScriptErrorNumber::notAuthorized) ? SeekResult::permissionDenied
                                                               : SeekResult::error;
}

} // namespace

SeekResult seekResultOfAnswer(const ScriptResult& result) {
    if (!result.isSuccess()) {
        return failureVerdict(result);
    }
    return result.answered(QStringLiteral("true")) ? SeekResult::seeked : SeekResult::notPlaying;
}

SeekResult seekResultOfPlayPause(const ScriptResult& result) {
    return result.isSuccess() ? SeekResult::seeked : failureVerdict(result);
}
