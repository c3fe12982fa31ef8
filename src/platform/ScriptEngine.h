#pragma once

#include <QString>

#include <cstdint>
#include <memory>
#include <optional>

// Runs script source text in the platform's scripting host. Building and running are separate
// so that a built script can be kept and run again without being parsed again.
class ScriptEngine {
public:
    // What one run answered: the result's text when it has one, or the host's error report,
    // whose number and message are each absent when the host left them out.
    struct Reply {
        bool failed = false;
        std::optional<QString> text;
        std::optional<std::int64_t> errorNumber;
        std::optional<QString> errorMessage;
    };

    class Script {
    public:
        virtual ~Script() = default;
        // Blocks until the script ends. May be called from any thread, and again while an
        // earlier run of the same script is still going on.
        virtual Reply run() = 0;
    };

    virtual ~ScriptEngine() = default;

    // Null when the source cannot even be made into a script object. Syntax errors need not be
    // found here: they may surface as a failed run.
    virtual std::shared_ptr<Script> build(const QString& source) = 0;
};
