#include "SafariYouTubeController.h"

#include "AppleScriptService.h"
#include "BrowserScript.h"
#include "ChromeYouTubeController.h"
#include "ScriptSeconds.h"

namespace {

constexpr QStringView application = u"Safari";
constexpr QStringView frontTab = u"current tab";

// Runs a program in the tab `t`; the programs hold no double quote or backslash, so they go
// into the string literal as they are.
QString doJavaScript(const QString& program) {
    return QStringLiteral("do JavaScript \"") + program + QStringLiteral("\" in t");
}

// The same tabs as Chrome's.
QString urlCheck() {
    return ChromeYouTubeController::JS::urlCheck();
}

} // namespace

QString SafariYouTubeController::JS::pausedJS() {
    return QStringLiteral("(function(){ var v = document.querySelector('video'); if (!v) return "
                          "'novideo'; return v.paused ? 'true' : 'false'; })()");
}

QString SafariYouTubeController::JS::seekJS(double seconds) {
    return QStringLiteral("(function(){ var v = document.querySelector('video'); if (v) { "
                          "v.currentTime = Math.max(0, v.currentTime + (") +
           scriptSeconds(seconds) + QStringLiteral(")); } })()");
}

QString SafariYouTubeController::JS::toggleJS() {
    return QStringLiteral("(function(){ var v = document.querySelector('video'); if (!v) return "
                          "'novideo'; if (v.paused) { v.play(); } else { v.pause(); } return "
                          "'ok'; })()");
}

QString SafariYouTubeController::JS::titleJS() {
    return QStringLiteral("(function(){ var v = document.querySelector('video'); if (!v || "
                          "v.paused) return ''; var t = document.querySelector('h1.ytd-watch-"
                          "metadata yt-formatted-string, h1.title'); return t ? "
                          "t.textContent.trim() : ''; })()");
}

QString SafariYouTubeController::scriptSource(double seconds) {
    return BrowserScript::sweep(
        application, frontTab, urlCheck(),
        BrowserScript::seekAction(doJavaScript, JS::pausedJS(), JS::seekJS(seconds)));
}

QString SafariYouTubeController::toggleScript() {
    return BrowserScript::sweep(application, frontTab, urlCheck(),
                                BrowserScript::toggleAction(doJavaScript, JS::toggleJS()));
}

QString SafariYouTubeController::nowPlayingScript() {
    return BrowserScript::frontTabOnly(application, frontTab, urlCheck(),
                                       BrowserScript::titleAction(doJavaScript, JS::titleJS()));
}

SeekResult SafariYouTubeController::togglePlayPause(AppleScriptService& scripts, double timeout) {
    return seekResultOfAnswer(scripts.execute(toggleScript(), timeout));
}
