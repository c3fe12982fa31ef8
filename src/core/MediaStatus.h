#pragma once

#include "models/MediaApp.h"
#include "models/NowPlaying.h"
#include "models/SeekFeedback.h"

#include <QList>
#include <QObject>
#include <QString>
#include <QTimer>

#include <functional>
#include <memory>
#include <optional>

class AppSettings;
class PlayerControl;

// What the overlay and the panel show of the media: what the last request did, a problem, and
// what is playing. Each short-lived value is cleared by a timer that a newer value replaces.
// Lives on the GUI thread; the now-playing queries run on a worker thread.
class MediaStatus : public QObject {
    Q_OBJECT
    Q_PROPERTY(std::optional<MediaApp> lastActiveApp READ lastActiveApp NOTIFY lastActiveAppChanged)
    Q_PROPERTY(
        std::optional<SeekFeedback> seekFeedback READ seekFeedback NOTIFY seekFeedbackChanged)
    Q_PROPERTY(std::optional<QString> statusMessage READ statusMessage NOTIFY statusMessageChanged)
    Q_PROPERTY(std::optional<NowPlaying> nowPlaying READ nowPlaying NOTIFY nowPlayingChanged)

public:
    // The apps to ask what is playing, in the order to ask them.
    using Candidates = std::function<QList<MediaApp>()>;

    // How long a problem stays on show.
    static constexpr int statusDurationMs = 5000;
    // How often the panel's now-playing line is refreshed while it is open.
    static constexpr int nowPlayingIntervalMs = 10000;

    // Asks no app until told which to ask: the media controller, which knows which apps run,
    // tells it once it exists.
    MediaStatus(std::shared_ptr<PlayerControl> players, AppSettings& settings,
                QObject* parent = nullptr);
    MediaStatus(std::shared_ptr<PlayerControl> players, AppSettings& settings,
                Candidates candidates, QObject* parent = nullptr);
    ~MediaStatus() override;

    // Replaces the apps to ask; an empty function asks none.
    void setCandidates(Candidates candidates);

    std::optional<MediaApp> lastActiveApp() const { return m_lastActiveApp; }
    // The last app's player by its own name, where the app stands for many kinds of player;
    // else empty.
    QString lastActivePlayerName() const { return m_lastActivePlayerName; }
    std::optional<SeekFeedback> seekFeedback() const { return m_seekFeedback; }
    std::optional<QString> statusMessage() const { return m_statusMessage; }
    std::optional<NowPlaying> nowPlaying() const { return m_nowPlaying; }

    void setLastActiveApp(MediaApp app, const QString& playerName = QString());
    // `playerName`: the player's own name where the app stands for many kinds of player;
    // `hold`: where the action is a step of a hotkey held down.
    void showFeedback(MediaApp app, FeedbackKind kind, const QString& playerName = QString(),
                      std::optional<HoldProgress> hold = std::nullopt);
    // While a hotkey is held down the feedback stays: it is cleared the feedback duration
    // after the last step or the release, whichever comes later.
    void setHolding(bool holding);
    bool isHolding() const { return m_holding; }
    void showStatus(const QString& message);

    // Polls now, then every ten seconds until stopped. Starting again restarts the cycle.
    void startNowPlayingPolling();
    void stopNowPlayingPolling();
    bool isPollingNowPlaying() const { return m_nowPlayingTimer != nullptr; }
    // One poll; the answer arrives later.
    void pollNowPlaying();

    // How long a problem stays and how often the line is refreshed; shorter in tests.
    int statusDuration() const { return m_statusDurationMs; }
    void setStatusDuration(int milliseconds) { m_statusDurationMs = milliseconds; }
    int nowPlayingInterval() const { return m_nowPlayingIntervalMs; }
    void setNowPlayingInterval(int milliseconds) { m_nowPlayingIntervalMs = milliseconds; }

    // What the app is playing, asked for at most the now-playing time-out. Blocks: never call
    // it on the GUI thread.
    static std::optional<NowPlaying> queryNowPlaying(PlayerControl& players, MediaApp app);

signals:
    void lastActiveAppChanged();
    void seekFeedbackChanged();
    void statusMessageChanged();
    void nowPlayingChanged();

private:
    void setNowPlaying(std::optional<NowPlaying> nowPlaying);
    void startFeedbackExpiry();

    std::shared_ptr<PlayerControl> m_players;
    AppSettings& m_settings;
    Candidates m_candidates;

    std::optional<MediaApp> m_lastActiveApp;
    QString m_lastActivePlayerName;
    std::optional<SeekFeedback> m_seekFeedback;
    std::optional<QString> m_statusMessage;
    std::optional<NowPlaying> m_nowPlaying;
    std::unique_ptr<QTimer> m_feedbackTimer;
    bool m_holding = false;
    std::unique_ptr<QTimer> m_statusTimer;
    std::unique_ptr<QTimer> m_nowPlayingTimer;
    int m_statusDurationMs = statusDurationMs;
    int m_nowPlayingIntervalMs = nowPlayingIntervalMs;
};
