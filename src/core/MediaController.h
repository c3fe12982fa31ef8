#pragma once

#include "models/MediaApp.h"
#include "models/SeekFeedback.h"
#include "models/SeekResult.h"
#include "models/UserAlert.h"

#include <QElapsedTimer>
#include <QList>
#include <QObject>
#include <QSet>
#include <QString>

#include <deque>
#include <functional>
#include <memory>
#include <optional>

class AppSettings;
class MediaStatus;
class SerialQueue;
class PlayerControl;
class RunningApps;

// Turns requests to seek by a signed number of seconds (0 toggles play/pause) into actions on
// the right media app, one request at a time in arrival order, and reports what happened to the
// media status. Lives on the GUI thread; the players are driven on a thread of its own, so
// nothing here ever waits for a player.
class MediaController : public QObject {
    Q_OBJECT

public:
    // Tells `status` which apps to ask what is playing, for as long as both live.
    // `permissionDeniedStatus`: the platform's words for a player that waits for the user's
    // permission, "%1" standing for the app's name. `naming`: how its lines name the apps.
    MediaController(std::shared_ptr<PlayerControl> players, std::unique_ptr<RunningApps> running,
                    AppSettings& settings, MediaStatus& status, QString permissionDeniedStatus,
                    MediaApp::BrowserNaming naming, QObject* parent = nullptr);
    // Waits for a trial in flight, which a player's time-out bounds.
    ~MediaController() override;

    // What one request came to, for the one who made it: whether a player was acted on, and
    // the panel's words for it.
    struct Served {
        bool acted = false;
        QString line;
        // The app acted on, when one was.
        std::optional<MediaApp> app{};
    };
    using WhenServed = std::function<void(const Served&)>;

    // Queues a request. Never blocks and never drops one; callable from any thread.
    void enqueueSeek(double seconds);
    // The same, in the same queue, and `whenServed` is called on the GUI thread once it is.
    void enqueueAnsweredSeek(double seconds, WhenServed whenServed);
    // A step of a hotkey held down, in the same queue: tried on `app` alone where one is given
    // (the app the hold's first step reached), and shown with the hold's progress.
    void enqueueHoldStep(double seconds, std::optional<MediaApp> app, HoldProgress progress,
                         WhenServed whenServed);
    // Keeps the feedback on show while a hotkey is held down.
    void setFeedbackHeld(bool held);

    // The app tried first by the next request.
    std::optional<MediaApp> lastSuccessfulApp() const { return m_lastSuccessfulApp; }
    QSet<MediaApp> runningApps() const { return m_running; }
    // The enabled apps, in the user's order, that run now.
    QList<MediaApp> runningActiveApps() const;

signals:
    // A request was served: its trial (if any) is over and its outcome handled.
    void seekFinished(double seconds);
    // A player said that only the user can make it work; one per such answer.
    void alertRequested(const UserAlert& alert);

private:
    struct Outcome {
        SeekResult result;
        MediaApp app;
        QString playerName{};
    };
    struct Trial {
        std::optional<Outcome> outcome;
        QList<UserAlert> alerts;
    };

    void appDidLaunch(MediaApp app);
    void appDidTerminate(MediaApp app);

    struct Request {
        double seconds = 0;
        WhenServed whenServed;
        std::optional<MediaApp> pinnedApp{};
        std::optional<HoldProgress> hold{};
    };

    void enqueue(Request request);

    void scheduleNextSeek();
    void executeSeek(Request request);
    void finishSeek(double seconds, const QElapsedTimer& clock, const Trial& trial);
    static Trial tryApps(PlayerControl& players, const QList<MediaApp>& candidates, double seconds);

    std::shared_ptr<PlayerControl> m_players;
    std::unique_ptr<RunningApps> m_runningApps;
    AppSettings& m_settings;
    MediaStatus& m_status;
    QString m_permissionDeniedStatus;
    MediaApp::BrowserNaming m_naming;

    QSet<MediaApp> m_running;
    std::optional<MediaApp> m_lastSuccessfulApp;

    std::deque<Request> m_seekQueue;
    // Who waits for the request whose trial is in flight, if anyone.
    WhenServed m_whenServed;
    // The hold the request in flight is a step of, if any.
    std::optional<HoldProgress> m_holdInFlight;
    bool m_trialInFlight = false;
    bool m_waitingForRunningApps = false;
    bool m_nextSeekScheduled = false;
    // The serial seek thread; declared last, so it is gone before anything a trial reads.
    std::unique_ptr<SerialQueue> m_seekDispatchQueue;
};
