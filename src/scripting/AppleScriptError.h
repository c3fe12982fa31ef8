#pragma once

#include <QString>

#include <cstdint>
#include <optional>
#include <utility>

// Why a script run gave no answer.
struct AppleScriptError {
    enum class Kind {
        executionFailed,   // the script ran and reported an error, or recorded no result
        permissionDenied,  // never made by the runner; kept for callers
        compilationFailed, // no script object could be built from the source
        timeout,           // no result arrived in time
    };

    Kind kind = Kind::executionFailed;
    std::int64_t code = 0; // executionFailed only
    QString message;       // executionFailed only
    QString app;           // permissionDenied only

    static AppleScriptError executionFailed(std::int64_t code, QString message) {
        return {Kind::executionFailed, code, std::move(message), {}};
    }
    static AppleScriptError permissionDenied(QString app) {
        return {Kind::permissionDenied, 0, {}, std::move(app)};
    }
    static AppleScriptError compilationFailed() { return {Kind::compilationFailed, 0, {}, {}}; }
    static AppleScriptError timeout() { return {Kind::timeout, 0, {}, {}}; }

    // True for an executionFailed with this error number.
    bool isExecutionFailure(std::int64_t number) const {
        return kind == Kind::executionFailed && code == number;
    }

    friend bool operator==(const AppleScriptError&, const AppleScriptError&) = default;
};

// The answer of one script run: the result's text (absent when the result has none), or why
// there is none.
class ScriptResult {
public:
    static ScriptResult success(std::optional<QString> text) {
        ScriptResult result;
        result.m_text = std::move(text);
        return result;
    }
    static ScriptResult failure(AppleScriptError error) {
        ScriptResult result;
        result.m_error = std::move(error);
        return result;
    }

    bool isSuccess() const { return !m_error.has_value(); }
    // Success only.
    const std::optional<QString>& text() const { return m_text; }
    // Failure only.
    const AppleScriptError& error() const { return m_error.value(); }

    // True for a success whose text is exactly this.
    bool answered(const QString& answer) const { return isSuccess() && m_text == answer; }
    // True for a failure that reported this error number.
    bool failedWith(std::int64_t number) const {
        return m_error.has_value() && m_error->isExecutionFailure(number);
    }

    friend bool operator==(const ScriptResult&, const ScriptResult&) = default;

private:
    ScriptResult() = default;

    std::optional<QString> m_text;
    std::optional<AppleScriptError> m_error;
};

// Error numbers that the targets report and callers interpret.
namespace ScriptErrorNumber {
// The user has not allowed Scrubline to send Apple events to the target.
constexpr std::int64_t notAuthorized = -1743;
// Chrome could not run JavaScript in a tab: "Allow JavaScript from Apple Events" is off.
constexpr std::int64_t javaScriptOff = -1728;
} // namespace ScriptErrorNumber
