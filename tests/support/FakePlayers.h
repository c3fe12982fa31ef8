#pragma once

#include "platform/PlayerControl.h"

#include <QHash>
#include <QList>
#include <QSet>
#include <QString>

#include <condition_variable>
#include <mutex>

// Media apps as the test sets them up, answering at once unless told to hang. Records every
// call, with when it began and ended relative to the others.
class FakePlayers : public PlayerControl {
public:
    enum class Call { seek, playPause, nowPlaying, probe, warm };
    struct Record {
        Call call;
        QString subject; // the app's raw value, or the probed item's id
        double seconds = 0;
        bool finished = false; // false: the call began; true: it ended
    };

    // What a seek of the app answers; notPlaying unless set.
    void setSeekAnswer(MediaApp app, SeekAnswer answer);
    // What play/pause answers; seeked unless set.
    void setPlayPauseResult(MediaApp app, SeekResult result);
    // What a now-playing query answers: absent unless set; `playerName` as a player of an app
    // of many kinds names itself.
    void setNowPlaying(MediaApp app, std::optional<QString> title, const QStringList& artists = {},
                       const QString& playerName = QString());
    void setProbeStatus(const QString& id, PermissionStatus status);
    // Every call about the app waits out its whole time-out and then fails.
    void hang(MediaApp app);
    // Calls wait at a gate until it opens (all of them, whatever the app).
    void closeGate();
    void openGate();
    // Each call takes at least this long, to widen any overlap a test looks for.
    void setCallDuration(int ms);

    QList<Record> records() const;
    // The begun calls of one kind, in order: the app (or item id) of each.
    QStringList subjects(Call call) const;
    QList<double> seekSeconds() const;
    // The most calls that were ever in progress at once.
    int mostAtOnce() const;
    bool waitForCallsInProgress(int count, int timeoutMs) const;

    SeekAnswer seekIfPlaying(MediaApp app, double seconds, double timeout) override;
    SeekResult playPause(MediaApp app, double timeout) override;
    std::optional<NowPlaying> nowPlaying(MediaApp app, double timeout) override;
    PermissionStatus probe(const PermissionItem& item, double timeout) override;
    void warmSeek(double seconds) override;

private:
    // Records the beginning, waits as set up, and tells whether the call hangs.
    bool begin(Call call, const QString& subject, double seconds, double timeout,
               std::unique_lock<std::mutex>& lock);
    void end(Call call, const QString& subject, double seconds, std::unique_lock<std::mutex>& lock);

    mutable std::mutex m_mutex;
    mutable std::condition_variable m_changed;
    QHash<QString, SeekAnswer> m_seekAnswers;
    QHash<QString, SeekResult> m_playPauseResults;
    QHash<QString, std::optional<NowPlaying>> m_nowPlaying;
    QHash<QString, PermissionStatus> m_probeStatuses;
    QSet<QString> m_hung;
    bool m_gateClosed = false;
    int m_callDurationMs = 0;
    QList<Record> m_records;
    int m_inProgress = 0;
    int m_mostAtOnce = 0;
};
