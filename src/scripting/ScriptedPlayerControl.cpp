#include "ScriptedPlayerControl.h"

#include "AppleScriptService.h"
#include "ChromeYouTubeController.h"
#include "NativeMediaAppController.h"
#include "PermissionProbes.h"
#include "SafariYouTubeController.h"
#include "ScriptNowPlaying.h"

namespace {

QString seekScript(MediaApp app, double seconds) {
    switch (app.value()) {
    case MediaApp::spotify:
        return SpotifyController::seekScript(seconds);
    case MediaApp::appleMusic:
        return MusicController::seekScript(seconds);
    case MediaApp::chromiumYouTube:
        return ChromeYouTubeController::scriptSource(seconds);
    case MediaApp::safariYouTube:
        return SafariYouTubeController::scriptSource(seconds);
    case MediaApp::firefox:
    case MediaApp::otherPlayers:
        break; // found only on the session bus, never by a script
    }
    return {};
}

QString nowPlayingScript(MediaApp app) {
    switch (app.value()) {
    case MediaApp::spotify:
        return SpotifyController::nowPlayingScript();
    case MediaApp::appleMusic:
        return MusicController::nowPlayingScript();
    case MediaApp::chromiumYouTube:
        return ChromeYouTubeController::nowPlayingScript();
    case MediaApp::safariYouTube:
        return SafariYouTubeController::nowPlayingScript();
    case MediaApp::firefox:
    case MediaApp::otherPlayers:
        break;
    }
    return {};
}

} // namespace

ScriptedPlayerControl::ScriptedPlayerControl(std::shared_ptr<ScriptEngine> engine)
    : m_scripts(std::move(engine)) {}

PlayerControl::SeekAnswer ScriptedPlayerControl::seekIfPlaying(MediaApp app, double seconds,
                                                               double timeout) {
    switch (app.value()) {
    case MediaApp::spotify:
        return {SpotifyController::seekIfPlaying(m_scripts, seconds, timeout)};
    case MediaApp::appleMusic:
        return {MusicController::seekIfPlaying(m_scripts, seconds, timeout)};
    case MediaApp::chromiumYouTube:
    case MediaApp::safariYouTube:
        break;
    case MediaApp::firefox:
    case MediaApp::otherPlayers:
        return {SeekResult::error}; // no script drives them
    }
    // A Chrome refusal to run JavaScript goes back to the caller, who tells the user.
    const ScriptResult result = m_scripts.execute(seekScript(app, seconds), timeout);
    SeekAnswer answer{seekResultOfAnswer(result)};
    if (app == MediaApp::chromiumYouTube && ChromeYouTubeController::isJavaScriptOff(result)) {
        answer.alert = ChromeYouTubeController::jsPermissionAlert();
    }
    return answer;
}

// The native players toggle whatever their state, so any answer means done; the browsers
// answer "true" only when they found a YouTube tab.
SeekResult ScriptedPlayerControl::playPause(MediaApp app, double timeout) {
    switch (app.value()) {
    case MediaApp::spotify:
        return seekResultOfPlayPause(
            m_scripts.execute(SpotifyController::playPauseScript(), timeout));
    case MediaApp::appleMusic:
        return seekResultOfPlayPause(
            m_scripts.execute(MusicController::playPauseScript(), timeout));
    case MediaApp::chromiumYouTube:
        return seekResultOfAnswer(
            m_scripts.execute(ChromeYouTubeController::playPauseScript(), timeout));
    case MediaApp::safariYouTube:
        return SafariYouTubeController::togglePlayPause(m_scripts, timeout);
    case MediaApp::firefox:
    case MediaApp::otherPlayers:
        break;
    }
    return SeekResult::error;
}

std::optional<NowPlaying> ScriptedPlayerControl::nowPlaying(MediaApp app, double timeout) {
    if (nowPlayingScript(app).isEmpty()) {
        return std::nullopt;
    }
    const ScriptResult result = m_scripts.execute(nowPlayingScript(app), timeout);
    if (!result.isSuccess() || !result.text()) {
        return std::nullopt;
    }
    const bool video = app == MediaApp::chromiumYouTube || app == MediaApp::safariYouTube;
    return video ? ScriptNowPlaying::fromVideoTitle(app, *result.text())
                 : ScriptNowPlaying::fromTrackAnswer(app, *result.text());
}

PermissionStatus ScriptedPlayerControl::probe(const PermissionItem& item, double timeout) {
    switch (item.kind) {
    case PermissionItem::Kind::automation:
        return PermissionProbes::automationStatus(
            m_scripts.execute(PermissionProbes::automationProbe(item.processName), timeout));
    case PermissionItem::Kind::browserJavaScript:
        return PermissionProbes::chromeJavaScriptStatus(
            m_scripts.execute(PermissionProbes::chromeJavaScriptProbe(), timeout));
    case PermissionItem::Kind::accessibility:
        break; // read from the platform, never probed
    }
    return PermissionStatus::unknown;
}

void ScriptedPlayerControl::warmSeek(double seconds) {
    for (const MediaApp app : MediaApp::allCases()) {
        m_scripts.precompile(seekScript(app, seconds));
    }
}
