#include "PlayerProcess.h"

#include <QDBusConnection>
#include <QDBusConnectionInterface>
#include <QDeadlineTimer>
#include <QFile>
#include <QStandardPaths>
#include <QThread>

#include <csignal>

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

std::unique_ptr<PlayerProcess> PlayerProcess::mpv(const QString& file) {
    std::unique_ptr<PlayerProcess> player(new PlayerProcess);
    player->m_process.setProcessChannelMode(QProcess::ForwardedErrorChannel);
    player->m_process.start(
        QStringLiteral("mpv"),
        {QStringLiteral("--no-config"), QStringLiteral("--script=") + mprisPlugin(),
         QStringLiteral("--ao=null"), QStringLiteral("--vo=null"),
         QStringLiteral("--loop-file=inf"), QStringLiteral("--really-quiet"), file});
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

QString PlayerProcess::generatedAudio(int seconds) {
    static QTemporaryDir dir;
    const QString file = dir.filePath(QStringLiteral("tone-%1.ogg").arg(seconds));
    if (!QFile::exists(file)) {
        QProcess ffmpeg;
        ffmpeg.setProcessChannelMode(QProcess::ForwardedChannels);
        ffmpeg.start(QStringLiteral("ffmpeg"),
                     {QStringLiteral("-loglevel"), QStringLiteral("error"), QStringLiteral("-y"),
                      QStringLiteral("-f"), QStringLiteral("lavfi"), QStringLiteral("-i"),
                      QStringLiteral("sine=frequency=440:duration=%1").arg(seconds),
                      QStringLiteral("-c:a"), QStringLiteral("libvorbis"), file});
        if (!ffmpeg.waitForFinished(60000) || ffmpeg.exitCode() != 0) {
            qFatal("ffmpeg could not make %s", qPrintable(file));
        }
    }
    return file;
}
