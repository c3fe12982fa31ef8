#include "FakePlayers.h"

#include <chrono>
#include <thread>

void FakePlayers::setSeekAnswer(MediaApp app, SeekAnswer answer) {
    std::lock_guard lock(m_mutex);
    m_seekAnswers.insert(app.rawValue(), answer);
}

void FakePlayers::setPlayPauseResult(MediaApp app, SeekResult result) {
    std::lock_guard lock(m_mutex);
    m_playPauseResults.insert(app.rawValue(), result);
}

void FakePlayers::setNowPlaying(MediaApp app, std::optional<QString> title,
                                const QStringList& artists, const QString& playerName) {
    std::lock_guard lock(m_mutex);
    m_nowPlaying.insert(app.rawValue(), title ? std::optional<NowPlaying>(NowPlaying{
                                                    std::move(*title), artists, app, playerName})
                                              : std::nullopt);
}

void FakePlayers::setProbeStatus(const QString& id, PermissionStatus status) {
    std::lock_guard lock(m_mutex);
    m_probeStatuses.insert(id, status);
}

void FakePlayers::hang(MediaApp app) {
    std::lock_guard lock(m_mutex);
    m_hung.insert(app.rawValue());
}

void FakePlayers::closeGate() {
    std::lock_guard lock(m_mutex);
    m_gateClosed = true;
}

void FakePlayers::openGate() {
    {
        std::lock_guard lock(m_mutex);
        m_gateClosed = false;
    }
    m_changed.notify_all();
}

void FakePlayers::setCallDuration(int ms) {
    std::lock_guard lock(m_mutex);
    m_callDurationMs = ms;
}

QList<FakePlayers::Record> FakePlayers::records() const {
    std::lock_guard lock(m_mutex);
    return m_records;
}

QStringList FakePlayers::subjects(Call call) const {
    QStringList subjects;
    for (const Record& record : records()) {
        if (record.call == call && !record.finished) {
            subjects << record.subject;
        }
    }
    return subjects;
}

QList<double> FakePlayers::seekSeconds() const {
    QList<double> seconds;
    for (const Record& record : records()) {
        if ((record.call == Call::seek || record.call == Call::playPause) && !record.finished) {
            seconds << record.seconds;
        }
    }
    return seconds;
}

int FakePlayers::mostAtOnce() const {
    std::lock_guard lock(m_mutex);
    return m_mostAtOnce;
}

bool FakePlayers::waitForCallsInProgress(int count, int timeoutMs) const {
    std::unique_lock lock(m_mutex);
    return m_changed.wait_for(lock, std::chrono::milliseconds(timeoutMs),
                              [this, count] { return m_inProgress == count; });
}

bool FakePlayers::begin(Call call, const QString& subject, double seconds, double timeout,
                        std::unique_lock<std::mutex>& lock) {
    m_records << Record{call, subject, seconds, false};
    ++m_inProgress;
    m_mostAtOnce = std::max(m_mostAtOnce, m_inProgress);
    m_changed.notify_all();
    m_changed.wait(lock, [this] { return !m_gateClosed; });
    const int duration = m_callDurationMs;
    const bool hung = m_hung.contains(subject);
    lock.unlock();
    if (hung) {
        // A player that never answers: the caller's time-out is all it costs.
        std::this_thread::sleep_for(std::chrono::duration<double>(timeout));
    } else if (duration > 0) {
        std::this_thread::sleep_for(std::chrono::milliseconds(duration));
    }
    lock.lock();
    return hung;
}

void FakePlayers::end(Call call, const QString& subject, double seconds,
                      std::unique_lock<std::mutex>& /*lock*/) {
    m_records << Record{call, subject, seconds, true};
    --m_inProgress;
    m_changed.notify_all();
}

PlayerControl::SeekAnswer FakePlayers::seekIfPlaying(MediaApp app, double seconds, double timeout) {
    std::unique_lock lock(m_mutex);
    const bool hung = begin(Call::seek, app.rawValue(), seconds, timeout, lock);
    const SeekAnswer answer =
        hung ? SeekAnswer{SeekResult::error}
             : m_seekAnswers.value(app.rawValue(), SeekAnswer{SeekResult::notPlaying});
    end(Call::seek, app.rawValue(), seconds, lock);
    return answer;
}

SeekResult FakePlayers::playPause(MediaApp app, double timeout) {
    std::unique_lock lock(m_mutex);
    const bool hung = begin(Call::playPause, app.rawValue(), 0, timeout, lock);
    const SeekResult result =
        hung ? SeekResult::error : m_playPauseResults.value(app.rawValue(), SeekResult::seeked);
    end(Call::playPause, app.rawValue(), 0, lock);
    return result;
}

std::optional<NowPlaying> FakePlayers::nowPlaying(MediaApp app, double timeout) {
    std::unique_lock lock(m_mutex);
    const bool hung = begin(Call::nowPlaying, app.rawValue(), 0, timeout, lock);
    const std::optional<NowPlaying> answer =
        hung ? std::nullopt : m_nowPlaying.value(app.rawValue(), std::nullopt);
    end(Call::nowPlaying, app.rawValue(), 0, lock);
    return answer;
}

PermissionStatus FakePlayers::probe(const PermissionItem& item, double timeout) {
    std::unique_lock lock(m_mutex);
    const bool hung = begin(Call::probe, item.id, 0, timeout, lock);
    const PermissionStatus status = hung
                                        ? PermissionStatus::unknown
                                        : m_probeStatuses.value(item.id, PermissionStatus::granted);
    end(Call::probe, item.id, 0, lock);
    return status;
}

void FakePlayers::warmSeek(double seconds) {
    std::unique_lock lock(m_mutex);
    m_records << Record{Call::warm, QString(), seconds, false};
}
