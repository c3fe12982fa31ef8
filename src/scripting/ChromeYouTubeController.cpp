#include "ChromeYouTubeController.h"

#include "AppleScriptError.h"
#include "BrowserScript.h"
#include "ScriptSeconds.h"

#include <QStringList>

namespace {

constexpr QStringView application = u"Google Chrome";
constexpr QStringView frontTab = u"active tab";

// Runs a program in the tab `t`; the programs hold no double quote or backslash, so they go
// into the string literal as they are.
QString executeJS(const QString& program) {
    return QStringLiteral("execute t javascript \"") + program + QLatin1Char('"');
}

} // namespace

QString ChromeYouTubeController::JS::urlCheck() {
    static const QStringList fragments = {
        QStringLiteral("youtube.com/watch"),
        QStringLiteral("youtube.com/shorts/"),
        QStringLiteral("youtu.be/"),
        QStringLiteral("music.youtube.com"),
    };
    QStringList conditions;
    for (const QString& fragment : fragments) {
        conditions << QStringLiteral("tabURL contains \"") + fragment + QLatin1Char('"');
    }
    return conditions.join(QStringLiteral(" or "));
}

QString ChromeYouTubeController::JS::pausedJS() {
    return QStringLiteral("(function(){\n"
                          "    var v = document.querySelector('video');\n"
                          "    if (!v) return 'novideo';\n"
                          "    if (v.readyState < 2) return 'buffering';\n"
                          "    return v.paused ? 'true' : 'false';\n"
                          "})()");
}

QString ChromeYouTubeController::JS::seekJS(double seconds) {
    return QStringLiteral("(function(){\n"
                          "    var v = document.querySelector('video');\n"
                          "    if (v) {\n"
                          "        var t = Math.max(0, v.currentTime + (") +
           scriptSeconds(seconds) +
           QStringLiteral("));\n"
                          "        v.currentTime = Math.min(t, v.duration);\n"
                          "    }\n"
                          "})()");
}

QString ChromeYouTubeController::JS::toggleJS() {
    return QStringLiteral("(function(){\n"
                          "    var v = document.querySelector('video');\n"
                          "    if (!v) return 'novideo';\n"
                          "    if (v.paused) { v.play(); } else { v.pause(); }\n"
                          "    return 'ok';\n"
                          "})()");
}

QString ChromeYouTubeController::JS::titleJS() {
    return QStringLiteral("(function(){\n"
                          "    var v = document.querySelector('video');\n"
                          "    if (!v || v.paused) return '';\n"
                          "    var t = document.querySelector(\n"
                          "        'h1.ytd-watch-metadata yt-formatted-string, h1.title'\n"
                          "    );\n"
                          "    return t ? t.textContent.trim() : '';\n"
                          "})()");
}

QString ChromeYouTubeController::scriptSource(double seconds) {
    return BrowserScript::sweep(
        application, frontTab, JS::urlCheck(),
        BrowserScript::seekAction(executeJS, JS::pausedJS(), JS::seekJS(seconds)));
}

QString ChromeYouTubeController::playPauseScript() {
    return BrowserScript::sweep(application, frontTab, JS::urlCheck(),
                                BrowserScript::toggleAction(executeJS, JS::toggleJS()));
}

QString ChromeYouTubeController::nowPlayingScript() {
    return BrowserScript::frontTabOnly(application, frontTab, JS::urlCheck(),
                                       BrowserScript::titleAction(executeJS, JS::titleJS()));
}

bool ChromeYouTubeController::isJavaScriptOff(const ScriptResult& result) {
    return result.failedWith(ScriptErrorNumber::javaScriptOff);
}

UserAlert ChromeYouTubeController::jsPermissionAlert() {
    return {
        QStringLiteral("Chrome JavaScript Access Required"),
        QStringLiteral("To control YouTube, enable JavaScript from Apple Events in Chrome:\n\n"
                       "View > Developer > Allow JavaScript from Apple Events"),
        QStringLiteral("OK"),
    };
}
