#include "MediaController.h"

#include "MediaStatus.h"
#include "platform/PlayerControl.h"
#include "platform/RunningApps.h"
#include "settings/AppSettings.h"
#include "utilities/Logger.h"
#include "utilities/SerialQueue.h"

#include <QThread>

#include <cmath>
#include <utility>

MediaController::MediaController(std::shared_ptr<PlayerControl> players,
                                 std::unique_ptr<RunningApps> running, AppSettings& settings,
                                 MediaStatus& status, QString permissionDeniedStatus,
                                 MediaApp::BrowserNaming naming, QObject* parent)
    : QObject(parent)
    , m_players(std::move(players))
    , m_runningApps(std::move(running))
    , m_settings(settings)
    , m_status(status)
    , m_permissionDeniedStatus(std::move(permissionDeniedStatus))
    , m_naming(naming)
    , m_seekDispatchQueue(std::make_unique<SerialQueue>(QStringLiteral("scrubline-seek"))) {
    m_running = m_runningApps->runningApps();
    if (!m_runningApps->isSettled()) {
        // Just started, the list may not have heard of every player yet: a request made now
        // waits for it, rather than be told that nothing runs.
        m_waitingForRunningApps = true;
        connect(
            m_runningApps.get(), &RunningApps::settled, this,
            [this] {
                m_waitingForRunningApps = false;
                m_running = m_runningApps->runningApps();
                scheduleNextSeek();
            },
            Qt::SingleShotConnection);
    }
    connect(m_runningApps.get(), &RunningApps::launched, this, &MediaController::appDidLaunch);
    connect(m_runningApps.get(), &RunningApps::terminated, this, &MediaController::appDidTerminate);
    // The status's now-playing line asks the apps this controller would try, in its order.
    m_status.setCandidates([this] { return runningActiveApps(); });
}

MediaController::~MediaController() {
    // The status may outlive this controller; it asks no app from now on.
    m_status.setCandidates({});
    m_seekDispatchQueue.reset();
}

void MediaController::enqueueSeek(double seconds) {
    enqueueAnsweredSeek(seconds, {});
}

void MediaController::enqueueAnsweredSeek(double seconds, WhenServed whenServed) {
    enqueue({seconds, std::move(whenServed)});
}

void MediaController::enqueueHoldStep(double seconds, std::optional<MediaApp> app,
                                      HoldProgress progress, WhenServed whenServed) {
    enqueue({seconds, std::move(whenServed), app, progress});
}

void MediaController::setFeedbackHeld(bool held) {
    m_status.setHolding(held);
}

void MediaController::enqueue(Request request) {
    if (QThread::currentThread() != thread()) {
        // Requests from one thread keep their order: queued calls are delivered in order.
        QMetaObject::invokeMethod(
            this, [this, request = std::move(request)] { enqueue(request); }, Qt::QueuedConnection);
        return;
    }
    if (!m_waitingForRunningApps && !m_trialInFlight && !m_nextSeekScheduled &&
        m_seekQueue.empty()) {
        // Nothing waits: start now. This only hands the trial to the seek thread.
        executeSeek(std::move(request));
        return;
    }
    m_seekQueue.push_back(std::move(request));
    scheduleNextSeek();
}

// The next request starts from the event loop, never from inside the one before, so a long
// burst neither deepens the stack nor holds up the interface.
void MediaController::scheduleNextSeek() {
    if (m_waitingForRunningApps || m_nextSeekScheduled || m_trialInFlight || m_seekQueue.empty()) {
        return;
    }
    m_nextSeekScheduled = true;
    QMetaObject::invokeMethod(
        this,
        [this] {
            m_nextSeekScheduled = false;
            if (m_trialInFlight || m_seekQueue.empty()) {
                return;
            }
            Request request = std::move(m_seekQueue.front());
            m_seekQueue.pop_front();
            executeSeek(std::move(request));
        },
        Qt::QueuedConnection);
}

QList<MediaApp> MediaController::runningActiveApps() const {
    QList<MediaApp> candidates;
    for (const MediaApp app : m_settings.activeApps()) {
        if (m_running.contains(app)) {
            candidates << app;
        }
    }
    return candidates;
}

void MediaController::executeSeek(Request request) {
    const double seconds = request.seconds;
    QElapsedTimer clock;
    clock.start();
    QList<MediaApp> candidates = runningActiveApps();
    if (request.pinnedApp) {
        // A held hotkey keeps to the player its first step reached, while it still runs.
        candidates =
            candidates.contains(*request.pinnedApp) ? QList{*request.pinnedApp} : QList<MediaApp>{};
    }
    if (candidates.isEmpty()) {
        const QString message = QStringLiteral("No media apps running");
        m_status.showStatus(message);
        if (request.whenServed) {
            request.whenServed({false, message});
        }
        emit seekFinished(seconds);
        scheduleNextSeek();
        return;
    }
    // The app that answered last is the likeliest to be playing still.
    if (m_lastSuccessfulApp) {
        const qsizetype at = candidates.indexOf(*m_lastSuccessfulApp);
        if (at > 0) {
            candidates.move(at, 0);
        }
    }

    m_trialInFlight = true;
    m_whenServed = std::move(request.whenServed);
    m_holdInFlight = request.hold;
    m_seekDispatchQueue->async([this, players = m_players, candidates, seconds, clock] {
        const Trial trial = tryApps(*players, candidates, seconds);
        // The controller waits for this thread before it goes, so it is still here.
        QMetaObject::invokeMethod(
            this, [this, seconds, clock, trial] { finishSeek(seconds, clock, trial); },
            Qt::QueuedConnection);
    });
}

MediaController::Trial MediaController::tryApps(PlayerControl& players,
                                                const QList<MediaApp>& candidates, double seconds) {
    Trial trial;
    std::optional<MediaApp> lastErrorApp;
    for (const MediaApp app : candidates) {
        SeekResult verdict = SeekResult::error;
        QString playerName;
        if (seconds != 0) {
            const PlayerControl::SeekAnswer answer =
                players.seekIfPlaying(app, seconds, PlayerControl::actionTimeout);
            if (answer.alert) {
                trial.alerts << *answer.alert;
            }
            verdict = answer.result;
            playerName = answer.playerName;
        } else {
            verdict = players.playPause(app, PlayerControl::actionTimeout);
        }
        switch (verdict) {
        case SeekResult::seeked:
        case SeekResult::permissionDenied:
            trial.outcome = Outcome{verdict, app, playerName};
            return trial;
        case SeekResult::notPlaying:
            break;
        case SeekResult::error:
            lastErrorApp = app;
            break;
        }
    }
    if (lastErrorApp) {
        trial.outcome = Outcome{SeekResult::error, *lastErrorApp};
    }
    return trial;
}

void MediaController::finishSeek(double seconds, const QElapsedTimer& clock, const Trial& trial) {
    qCInfo(Log::seek(), "Seek %.*fs: %.*fms", 1, seconds, 1,
           static_cast<double>(clock.nsecsElapsed()) / 1e6);
    m_trialInFlight = false;
    const WhenServed whenServed = std::exchange(m_whenServed, {});
    const std::optional<HoldProgress> hold = std::exchange(m_holdInFlight, std::nullopt);

    for (const UserAlert& alert : trial.alerts) {
        emit alertRequested(alert);
    }
    // Nobody seeing the panel: the one who asked is told in words.
    Served told{false, QStringLiteral("Nothing is playing")};
    if (const std::optional<Outcome>& outcome = trial.outcome) {
        const MediaApp app = outcome->app;
        switch (outcome->result) {
        case SeekResult::permissionDenied:
            told.line = m_permissionDeniedStatus.arg(app.displayName(m_naming));
            m_status.showStatus(told.line);
            break;
        case SeekResult::error:
            told.line = app.displayName(m_naming) + QStringLiteral(" returned an error");
            m_status.showStatus(told.line);
            break;
        case SeekResult::seeked:
            m_status.setLastActiveApp(app, outcome->playerName);
            m_lastSuccessfulApp = app;
            m_status.showFeedback(app,
                                  seconds > 0   ? FeedbackKind::forward
                                  : seconds < 0 ? FeedbackKind::backward
                                                : FeedbackKind::playPause,
                                  outcome->playerName, hold);
            // An app of many players is named by the one that was moved.
            told = {
                true,
                (outcome->playerName.isEmpty() ? app.displayName(m_naming) : outcome->playerName) +
                    QStringLiteral(": ") +
                    (seconds == 0 ? QStringLiteral("play/pause")
                                  : (seconds > 0 ? QStringLiteral("+") : QStringLiteral("-")) +
                                        QString::number(std::abs(seconds)) + QStringLiteral("s")),
                app};
            break;
        case SeekResult::notPlaying:
            break; // never an outcome: the next app is tried instead
        }
    }
    if (whenServed) {
        whenServed(told);
    }
    emit seekFinished(seconds);
    scheduleNextSeek();
}

void MediaController::appDidLaunch(MediaApp app) {
    m_running.insert(app);
}

void MediaController::appDidTerminate(MediaApp app) {
    m_running.remove(app);
    if (m_lastSuccessfulApp == app) {
        m_lastSuccessfulApp.reset();
    }
}
