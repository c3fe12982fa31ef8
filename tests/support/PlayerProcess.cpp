#include "PlayerProcess.h"

#include <QDBusConnection>
#include <QDBusConnectionInterface>
#include <QDeadlineTimer>
#include <QFile>
#include <QFileInfo>
#include <QStandardPaths>
#include <QThread>

#include <csignal>

#include <unistd.h>

namespace {

QString mprisPlugin() {
    for (const char* path : {"/usr/lib/mpv-mpris/mpris.so", "/etc/mpv/scripts/mpris.so"}) {
        if (QFile::exists(QString::fromLatin1(path))) {
            return QString::fromLatin1(path);
        }
    }
    qFatal("The mpv MPRIS plugin is not installed (Debian package mpv-mpris)");
}

} // namespace

namespace {

// mpv with its MPRIS plugin, silent and without a window; `atTheEnd` says what it does there.
void startMpv(QProcess& process, const QString& file, const QString& atTheEnd) {
    process.setProcessChannelMode(QProcess::ForwardedErrorChannel);
    process.start(QStringLiteral("mpv"),
                  {QStringLiteral("--no-config"), QStringLiteral("--script=") + mprisPlugin(),
                   QStringLiteral("--ao=null"), QStringLiteral("--vo=null"), atTheEnd,
                   QStringLiteral("--really-quiet"), file});
}

} // namespace

std::unique_ptr<PlayerProcess> PlayerProcess::mpv(const QString& file) {
    std::unique_ptr<PlayerProcess> player(new PlayerProcess);
    startMpv(player->m_process, file, QStringLiteral("--loop-file=inf"));
    return player;
}

std::unique_ptr<PlayerProcess> PlayerProcess::mpvOnce(const QString& file) {
    std::unique_ptr<PlayerProcess> player(new PlayerProcess);
    startMpv(player->m_process, file, QStringLiteral("--keep-open=yes"));
    return player;
}

std::unique_ptr<PlayerProcess> PlayerProcess::vlc(const QString& file) {
    std::unique_ptr<PlayerProcess> player(new PlayerProcess);
    player->m_programDir = std::make_unique<QTemporaryDir>();
    const QString home = player->m_programDir->path();
    const QString copy = player->m_programDir->filePath(QFileInfo(file).fileName());
    if (!QFile::copy(file, copy)) {
        qFatal("Cannot copy %s for VLC", qPrintable(file));
    }
    QStringList command;
    if (::geteuid() == 0) {
        constexpr uid_t nobody = 65534;
        if (::chown(qPrintable(home), nobody, nobody) != 0 ||
            ::chown(qPrintable(copy), nobody, nobody) != 0) {
            qFatal("Cannot hand %s to the user nobody", qPrintable(home));
        }
        command << QStringLiteral("setpriv") << QStringLiteral("--reuid=65534")
                << QStringLiteral("--regid=65534") << QStringLiteral("--clear-groups");
    }
    command << QStringLiteral("vlc") << QStringLiteral("--intf=dummy")
            << QStringLiteral("--control=dbus") << QStringLiteral("--aout=dummy")
            << QStringLiteral("--vout=dummy") << QStringLiteral("--no-video")
            << QStringLiteral("--play-and-pause") << copy;
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert(QStringLiteral("HOME"), home);
    environment.insert(QStringLiteral("XDG_CONFIG_HOME"), home + QStringLiteral("/.config"));
    environment.insert(QStringLiteral("XDG_CACHE_HOME"), home + QStringLiteral("/.cache"));
    environment.insert(QStringLiteral("XDG_DATA_HOME"), home + QStringLiteral("/.local/share"));
    environment.remove(QStringLiteral("XDG_RUNTIME_DIR"));
    player->m_process.setProcessEnvironment(environment);
    // VLC reports every module it could not load; nothing a test reads.
    player->m_process.setProcessChannelMode(QProcess::MergedChannels);
    player->m_process.setStandardOutputFile(QProcess::nullDevice());
    player->m_process.start(command.takeFirst(), command);
    return player;
}

std::unique_ptr<PlayerProcess> PlayerProcess::audacious(const QString& file) {
    std::unique_ptr<PlayerProcess> player(new PlayerProcess);
    player->m_programDir = std::make_unique<QTemporaryDir>();
    const QString home = player->m_programDir->path();
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert(QStringLiteral("HOME"), home);
    environment.insert(QStringLiteral("XDG_CONFIG_HOME"), home + QStringLiteral("/.config"));
    environment.insert(QStringLiteral("XDG_CACHE_HOME"), home + QStringLiteral("/.cache"));
    environment.insert(QStringLiteral("XDG_DATA_HOME"), home + QStringLiteral("/.local/share"));
    // SDL's dummy driver waits as long as the sound would take; ALSA's null device and the
    // file writer take it at once, so the track would be over in a moment.
    environment.insert(QStringLiteral("SDL_AUDIODRIVER"), QStringLiteral("dummy"));

    // Audacious keeps which plugins are on in its plugin registry, which it writes itself on
    // a first start (with nothing to play it quits at once). Then only the SDL output is on,
    // the MPRIS plugin, and the resampler: SDL's buffers are counted in samples, and at the
    // test tone's 8 kHz one lasts long enough to make the position it reports lag by tenths of
    // a second after each seek.
    QProcess first;
    first.setProcessEnvironment(environment);
    first.setProcessChannelMode(QProcess::MergedChannels);
    first.setStandardOutputFile(QProcess::nullDevice());
    first.start(QStringLiteral("audacious"), {QStringLiteral("-H"), QStringLiteral("-q")});
    QFile registry(home + QStringLiteral("/.config/audacious/plugin-registry"));
    if (!first.waitForFinished(20000) || !registry.open(QIODevice::ReadOnly)) {
        qFatal("Audacious did not write its plugin registry");
    }
    QByteArrayList lines = registry.readAll().split('\n');
    registry.close();
    enum class Turn { asItIs, on, off };
    Turn turn = Turn::asItIs; // the plugin whose entry this is
    for (QByteArray& line : lines) {
        if (line.startsWith("output ")) {
            turn = line.endsWith("/sdlout.so") ? Turn::on : Turn::off;
        } else if (line.startsWith("effect ")) {
            turn = line.endsWith("/resample.so") ? Turn::on : Turn::asItIs;
        } else if (line.startsWith("general ")) {
            turn = line.endsWith("/mpris2.so") ? Turn::on : Turn::asItIs;
        } else if (line.startsWith("enabled ") && turn != Turn::asItIs) {
            line = turn == Turn::on ? "enabled 1" : "enabled 0";
            turn = Turn::asItIs;
        }
    }
    if (!registry.open(QIODevice::WriteOnly | QIODevice::Truncate) ||
        registry.write(lines.join('\n')) < 0) {
        qFatal("Cannot write Audacious's plugin registry");
    }
    registry.close();

    player->m_process.setProcessEnvironment(environment);
    player->m_process.setProcessChannelMode(QProcess::MergedChannels);
    player->m_process.setStandardOutputFile(QProcess::nullDevice());
    player->m_process.start(QStringLiteral("audacious"), {QStringLiteral("-H"), file});
    return player;
}

std::unique_ptr<PlayerProcess> PlayerProcess::fake(const QStringList& arguments,
                                                   const QString& programName) {
    std::unique_ptr<PlayerProcess> player(new PlayerProcess);
    QString program = QStringLiteral(SCRUBLINE_FAKE_PLAYER);
    if (!programName.isEmpty()) {
        player->m_programDir = std::make_unique<QTemporaryDir>();
        const QString copy = player->m_programDir->filePath(programName);
        if (!QFile::copy(program, copy)) {
            qFatal("Cannot copy the fake player to %s", qPrintable(copy));
        }
        program = copy;
    }
    player->m_process.setProcessChannelMode(QProcess::ForwardedErrorChannel);
    player->m_process.start(program, arguments);
    return player;
}

PlayerProcess::~PlayerProcess() {
    kill();
}

bool PlayerProcess::waitForBusName(const QString& busName, int timeoutMs) {
    const QDeadlineTimer deadline(timeoutMs);
    QDBusConnectionInterface* bus = QDBusConnection::sessionBus().interface();
    while (!deadline.hasExpired()) {
        if (m_process.state() == QProcess::NotRunning) {
            return false;
        }
        if (bus->isServiceRegistered(busName).value() &&
            bus->servicePid(busName).value() == static_cast<uint>(m_process.processId())) {
            return true;
        }
        QThread::msleep(20);
    }
    return false;
}

QStringList PlayerProcess::calls() {
    m_process.waitForReadyRead(0);
    while (m_process.canReadLine()) {
        const QString line = QString::fromUtf8(m_process.readLine()).trimmed();
        if (line != QLatin1String("ready")) {
            m_lines << line;
        }
    }
    return m_lines;
}

void PlayerProcess::stop() {
    ::kill(static_cast<pid_t>(m_process.processId()), SIGSTOP);
}

void PlayerProcess::resume() {
    ::kill(static_cast<pid_t>(m_process.processId()), SIGCONT);
}

void PlayerProcess::kill() {
    if (m_process.state() != QProcess::NotRunning) {
        m_process.kill();
        m_process.waitForFinished(10000);
    }
}

QString PlayerProcess::generatedAudio(int seconds, bool wave) {
    static QTemporaryDir dir;
    const QString file =
        dir.filePath(QStringLiteral("tone-%1.%2").arg(seconds).arg(wave ? "wav" : "ogg"));
    if (!QFile::exists(file)) {
        QProcess ffmpeg;
        ffmpeg.setProcessChannelMode(QProcess::ForwardedChannels);
        const QStringList codec =
            wave ? QStringList{QStringLiteral("-c:a"), QStringLiteral("pcm_s16le")}
                 : QStringList{QStringLiteral("-c:a"), QStringLiteral("libvorbis")};
        ffmpeg.start(
            QStringLiteral("ffmpeg"),
            QStringList{
                QStringLiteral("-loglevel"), QStringLiteral("error"), QStringLiteral("-y"),
                QStringLiteral("-f"), QStringLiteral("lavfi"), QStringLiteral("-i"),
                QStringLiteral("sine=frequency=440:duration=%1:sample_rate=8000").arg(seconds)} +
                codec + QStringList{file});
        if (!ffmpeg.waitForFinished(60000) || ffmpeg.exitCode() != 0) {
            qFatal("ffmpeg could not make %s", qPrintable(file));
        }
    }
    return file;
}
