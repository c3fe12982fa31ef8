#include "PermissionProbes.h"

#include "AppleScriptError.h"

namespace PermissionProbes {

QString automationProbe(const QString& appName) {
    return QStringLiteral("    tell application \"") + appName +
           QStringLiteral("\" to return name");
}

QString chromeJavaScriptProbe() {
    return QStringLiteral("    tell application \"Google Chrome\"\n"
                          "        if (count of windows) is 0 then return \"nowindow\"\n"
                          "        execute front window's active tab javascript \"1+1\"\n"
                          "        return \"ok\"\n"
                          "    end tell");
}

PermissionStatus automationStatus(const ScriptResult& result) {
    if (result.isSuccess()) {
        return PermissionStatus::granted;
    }
    return result.failedWith(ScriptErrorNumber::notAuthorized) ? PermissionStatus::denied
                                                               : PermissionStatus::unknown;
}

PermissionStatus chromeJavaScriptStatus(const ScriptResult& result) {
    if (result.isSuccess()) {
        return result.answered(QStringLiteral("nowindow")) ? PermissionStatus::unknown
                                                           : PermissionStatus::granted;
    }
    return result.failedWith(ScriptErrorNumber::javaScriptOff) ||
                   result.failedWith(ScriptErrorNumber::notAuthorized)
               ? PermissionStatus::denied
               : PermissionStatus::unknown;
}

} // namespace PermissionProbes
