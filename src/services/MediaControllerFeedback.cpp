// The feedback, status and now-playing side of MediaController: short-lived values that the
// overlay and the panel show, each cleared by a timer that a newer value replaces.
#include "MediaController.h"

#include "AppleScriptService.h"
#include "models/AppSettings.h"
#include "platform/PlayerControl.h"
#include "utilities/ConcurrentQueue.h"
#include "utilities/MainThread.h"

#include <cmath>

namespace {

// A new timer every time: the one it replaces is destroyed with any pending timeout, so only
// the newest can fire.
std::unique_ptr<QTimer> makeTimer(QObject* context, int intervalMs, bool repeating,
                                  std::function<void()> handler) {
    auto timer = std::make_unique<QTimer>();
    timer->setTimerType(Qt::PreciseTimer);
    timer->setSingleShot(!repeating);
    timer->setInterval(intervalMs);
    QObject::connect(timer.get(), &QTimer::timeout, context, std::move(handler));
    timer->start();
    return timer;
}

int milliseconds(double seconds) {
    return std::isfinite(seconds) && seconds > 0
               ? static_cast<int>(std::lround(std::min(seconds, 86400.0) * 1000))
               : 0;
}

} // namespace

void MediaController::showFeedback(MediaApp app, FeedbackKind kind) {
    // A success hides any problem still on show.
    if (m_statusMessage) {
        m_statusMessage.reset();
        emit statusMessageChanged();
    }
    m_seekFeedback = SeekFeedback{app, kind, QUuid::createUuid()};
    emit seekFeedbackChanged();
    m_feedbackTimer = makeTimer(this, milliseconds(m_settings.feedbackDuration()), false, [this] {
        m_seekFeedback.reset();
        emit seekFeedbackChanged();
    });
}

void MediaController::showStatus(const QString& message) {
    if (m_statusMessage != message) {
        m_statusMessage = message;
        emit statusMessageChanged();
    }
    m_statusTimer = makeTimer(this, statusDurationMs, false, [this, message] {
        if (m_statusMessage == message) {
            m_statusMessage.reset();
            emit statusMessageChanged();
        }
    });
}

void MediaController::startNowPlayingPolling() {
    // The first poll comes at once, the next ones at the interval.
    m_nowPlayingTimer = makeTimer(this, 0, true, [this] {
        m_nowPlayingTimer->setInterval(nowPlayingIntervalMs);
        pollNowPlaying();
    });
}

void MediaController::stopNowPlayingPolling() {
    m_nowPlayingTimer.reset();
}

// Not serialized against seeks or other polls: a slow player may make two polls overlap, and
// the later answer wins.
void MediaController::pollNowPlaying() {
    const QList<MediaApp> candidates = runningActiveApps();
    QPointer<QObject> guard(this);
    // When no thread can be had, this poll yields nothing and the line keeps its last value.
    (void)ConcurrentQueue::utility().async([this, guard, players = m_players, candidates] {
        std::optional<NowPlaying> answer;
        for (const MediaApp app : candidates) {
            answer = queryNowPlaying(*players, app);
            if (answer) {
                break;
            }
        }
        MainThread::post(guard, [this, answer] { setNowPlaying(answer); });
    });
}

std::optional<NowPlaying> MediaController::queryNowPlaying(PlayerControl& players, MediaApp app) {
    const std::optional<QString> text =
        players.nowPlayingText(app, AppleScriptService::nowPlayingTimeout);
    if (!text || text->isEmpty()) {
        return std::nullopt;
    }
    return NowPlaying::fromText(app, *text);
}

void MediaController::setNowPlaying(std::optional<NowPlaying> nowPlaying) {
    if (m_nowPlaying != nowPlaying) {
        m_nowPlaying = std::move(nowPlaying);
        emit nowPlayingChanged();
    }
}
