#pragma once

#include <QProcess>
#include <QString>
#include <QStringList>
#include <QTemporaryDir>

#include <memory>

// A real media player process on the session bus, started by a test: mpv with its MPRIS
// plugin, or our fake player (optionally under another program name).
class PlayerProcess {
public:
    // mpv playing `file` in a loop, without sound or picture.
    static std::unique_ptr<PlayerProcess> mpv(const QString& file);
    // mpv playing `file` once, then staying paused at its end.
    static std::unique_ptr<PlayerProcess> mpvOnce(const QString& file);
    // VLC playing `file` once and pausing at its end, without sound or picture. VLC refuses to
    // run as root: there it runs as the user nobody, with a home of its own.
    static std::unique_ptr<PlayerProcess> vlc(const QString& file);
    // Audacious, headless, playing `file` once and stopping at its end, with its MPRIS plugin and
    // an output that needs no sound card (SDL's dummy driver, which plays in real time).
    static std::unique_ptr<PlayerProcess> audacious(const QString& file);
    // The fake player with these arguments; `programName`, when given, is the name of the
    // program file it runs as (a copy made for the purpose).
    static std::unique_ptr<PlayerProcess> fake(const QStringList& arguments,
                                               const QString& programName = QString());

    ~PlayerProcess();
    PlayerProcess(const PlayerProcess&) = delete;
    PlayerProcess& operator=(const PlayerProcess&) = delete;

    // Waits until the bus name is taken; false when the process died or time ran out.
    bool waitForBusName(const QString& busName, int timeoutMs = 20000);
    qint64 pid() const { return m_process.processId(); }

    // The calls the fake player printed so far, one line each.
    QStringList calls();

    void stop();   // SIGSTOP: the process still owns its name but answers nothing
    void resume(); // SIGCONT
    void kill();   // SIGKILL, waited for

    // A sine tone of `seconds`, made with ffmpeg once per test run: Ogg Vorbis, or with `wave`
    // a WAV file, in which every player seeks exactly (VLC finds its way in Ogg by guessing).
    static QString generatedAudio(int seconds = 60, bool wave = false);

private:
    PlayerProcess() = default;

    QProcess m_process;
    QStringList m_lines;
    std::unique_ptr<QTemporaryDir> m_programDir;
};
