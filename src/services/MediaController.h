#pragma once

#include "SeekFeedback.h"
#include "SeekResult.h"
#include "models/MediaApp.h"

#include <QElapsedTimer>
#include <QObject>
#include <QSet>
#include <QString>
#include <QTimer>

#include <deque>
#include <memory>
#include <optional>

class AppSettings;
class SerialQueue;
class PlayerControl;
class RunningApps;

// Turns requests to seek by a signed number of seconds (0 toggles play/pause) into actions on
// the right media app, one request at a time in arrival order, and publishes what happened.
// Lives on the GUI thread; the players are driven on a thread of its own, so nothing here ever
// waits for a player.
class MediaController : public QObject {
    Q_OBJECT
    Q_PROPERTY(std::optional<MediaApp> lastActiveApp READ lastActiveApp NOTIFY lastActiveAppChanged)
    Q_PROPERTY(
        std::optional<SeekFeedback> seekFeedback READ seekFeedback NOTIFY seekFeedbackChanged)
    Q_PROPERTY(std::optional<QString> statusMessage READ statusMessage NOTIFY statusMessageChanged)
    Q_PROPERTY(std::optional<NowPlaying> nowPlaying READ nowPlaying NOTIFY nowPlayingChanged)

public:
    using SeekResult = ::SeekResult;
    using SeekFeedback = ::SeekFeedback;
    using FeedbackKind = ::FeedbackKind;
    using NowPlaying = ::NowPlaying;

    // How long a problem stays on show.
    static constexpr int statusDurationMs = 5000;
    // How often the panel's now-playing line is refreshed while it is open.
    static constexpr int nowPlayingIntervalMs = 10000;

    // Created on first use with the platform's players and the shared settings.
    static MediaController& shared();

    MediaController(std::shared_ptr<PlayerControl> players, std::unique_ptr<RunningApps> running,
                    AppSettings& settings, QObject* parent = nullptr);
    // Waits for a trial in flight, which a player's time-out bounds.
    ~MediaController() override;

    // Queues a request. Never blocks and never drops one; callable from any thread.
    void enqueueSeek(double seconds);

    std::optional<MediaApp> lastActiveApp() const { return m_lastActiveApp; }
    std::optional<SeekFeedback> seekFeedback() const { return m_seekFeedback; }
    std::optional<QString> statusMessage() const { return m_statusMessage; }
    std::optional<NowPlaying> nowPlaying() const { return m_nowPlaying; }
    // The app tried first by the next request.
    std::optional<MediaApp> lastSuccessfulApp() const { return m_lastSuccessfulApp; }
    QSet<QString> runningProcessNames() const { return m_runningProcessNames; }

    void showFeedback(MediaApp app, FeedbackKind kind);
    void showStatus(const QString& message);

    // Polls now, then every ten seconds until stopped. Starting again restarts the cycle.
    void startNowPlayingPolling();
    void stopNowPlayingPolling();
    bool isPollingNowPlaying() const { return m_nowPlayingTimer != nullptr; }
    // One poll; the answer arrives later.
    void pollNowPlaying();

    // What the app is playing, asked for at most the now-playing time-out. Blocks: never call
    // it on the GUI thread.
    static std::optional<NowPlaying> queryNowPlaying(PlayerControl& players, MediaApp app);

signals:
    void lastActiveAppChanged();
    void seekFeedbackChanged();
    void statusMessageChanged();
    void nowPlayingChanged();
    // A request was served: its trial (if any) is over and its outcome handled.
    void seekFinished(double seconds);

private:
    struct Outcome {
        SeekResult result;
        MediaApp app;
    };

    void appDidLaunch(const QString& name);
    void appDidTerminate(const QString& name);

    QList<MediaApp> runningActiveApps() const;
    void scheduleNextSeek();
    void executeSeek(double seconds);
    void finishSeek(double seconds, const QElapsedTimer& clock, std::optional<Outcome> outcome);
    static std::optional<Outcome> tryApps(PlayerControl& players, const QList<MediaApp>& candidates,
                                          double seconds);

    void setNowPlaying(std::optional<NowPlaying> nowPlaying);

    std::shared_ptr<PlayerControl> m_players;
    std::unique_ptr<RunningApps> m_runningApps;
    AppSettings& m_settings;

    std::optional<MediaApp> m_lastActiveApp;
    std::optional<SeekFeedback> m_seekFeedback;
    std::optional<QString> m_statusMessage;
    std::optional<NowPlaying> m_nowPlaying;
    std::unique_ptr<QTimer> m_feedbackTimer;
    std::unique_ptr<QTimer> m_statusTimer;
    std::unique_ptr<QTimer> m_nowPlayingTimer;
    QSet<QString> m_runningProcessNames;
    std::optional<MediaApp> m_lastSuccessfulApp;

    std::deque<double> m_seekQueue;
    bool m_trialInFlight = false;
    bool m_nextSeekScheduled = false;
    // The serial seek thread; declared last, so it is gone before anything a trial reads.
    std::unique_ptr<SerialQueue> m_seekDispatchQueue;
};
