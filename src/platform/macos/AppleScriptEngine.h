#pragma once

#include "platform/ScriptEngine.h"

// AppleScript through NSAppleScript.
class AppleScriptEngine : public ScriptEngine {
public:
    std::shared_ptr<Script> build(const QString& source) override;
};
