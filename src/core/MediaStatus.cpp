#include "MediaStatus.h"

#include "platform/PlayerControl.h"
#include "settings/AppSettings.h"
#include "utilities/ConcurrentQueue.h"
#include "utilities/MainThread.h"

#include <QPointer>

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

MediaStatus::MediaStatus(std::shared_ptr<PlayerControl> players, AppSettings& settings,
                         QObject* parent)
    : MediaStatus(std::move(players), settings, Candidates(), parent) {}

MediaStatus::MediaStatus(std::shared_ptr<PlayerControl> players, AppSettings& settings,
                         Candidates candidates, QObject* parent)
    : QObject(parent)
    , m_players(std::move(players))
    , m_settings(settings)
    , m_candidates(std::move(candidates)) {}

MediaStatus::~MediaStatus() = default;

void MediaStatus::setCandidates(Candidates candidates) {
    m_candidates = std::move(candidates);
}

void MediaStatus::setLastActiveApp(MediaApp app, const QString& playerName) {
    if (m_lastActiveApp != app || m_lastActivePlayerName != playerName) {
        m_lastActiveApp = app;
        m_lastActivePlayerName = playerName;
        emit lastActiveAppChanged();
    }
}

void MediaStatus::showFeedback(MediaApp app, FeedbackKind kind, const QString& playerName,
                               std::optional<HoldProgress> hold) {
    // A success hides any problem still on show.
    if (m_statusMessage) {
        m_statusMessage.reset();
        emit statusMessageChanged();
    }
    m_seekFeedback = SeekFeedback{app, kind, QUuid::createUuid(), playerName, hold};
    emit seekFeedbackChanged();
    startFeedbackExpiry();
}

void MediaStatus::setHolding(bool holding) {
    if (holding == m_holding) {
        return;
    }
    m_holding = holding;
    // The time on show counts from the release, as after a press.
    if (!holding && m_seekFeedback) {
        startFeedbackExpiry();
    }
}

void MediaStatus::startFeedbackExpiry() {
    m_feedbackTimer = makeTimer(this, milliseconds(m_settings.feedbackDuration()), false, [this] {
        if (m_holding) {
            return; // the release starts the count again
        }
        m_seekFeedback.reset();
        emit seekFeedbackChanged();
    });
}

void MediaStatus::showStatus(const QString& message) {
    if (m_statusMessage != message) {
        m_statusMessage = message;
        emit statusMessageChanged();
    }
    m_statusTimer = makeTimer(this, m_statusDurationMs, false, [this, message] {
        if (m_statusMessage == message) {
            m_statusMessage.reset();
            emit statusMessageChanged();
        }
    });
}

void MediaStatus::startNowPlayingPolling() {
    // The first poll comes at once, the next ones at the interval.
    m_nowPlayingTimer = makeTimer(this, 0, true, [this] {
        m_nowPlayingTimer->setInterval(m_nowPlayingIntervalMs);
        pollNowPlaying();
    });
}

void MediaStatus::stopNowPlayingPolling() {
    m_nowPlayingTimer.reset();
}

// Not serialized against seeks or other polls: a slow player may make two polls overlap, and
// the later answer wins.
void MediaStatus::pollNowPlaying() {
    const QList<MediaApp> candidates = m_candidates ? m_candidates() : QList<MediaApp>();
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

std::optional<NowPlaying> MediaStatus::queryNowPlaying(PlayerControl& players, MediaApp app) {
    std::optional<NowPlaying> answer = players.nowPlaying(app, PlayerControl::nowPlayingTimeout);
    if (!answer || answer->isEmpty()) {
        return std::nullopt;
    }
    answer->app = app;
    return answer;
}

void MediaStatus::setNowPlaying(std::optional<NowPlaying> nowPlaying) {
    if (m_nowPlaying != nowPlaying) {
        m_nowPlaying = std::move(nowPlaying);
        emit nowPlayingChanged();
    }
}
