#include "ChromiumPage.h"

#include "platform/linux/MprisClient.h"

#include <QDBusConnection>
#include <QDBusConnectionInterface>
#include <QDeadlineTimer>
#include <QFile>
#include <QTest>

namespace {

bool makeVideo(const QString& file, QString* problem) {
    QProcess ffmpeg;
    ffmpeg.setProcessChannelMode(QProcess::MergedChannels);
    const QString seconds = QString::number(ChromiumPage::videoSeconds);
    ffmpeg.start(QStringLiteral("ffmpeg"),
                 {QStringLiteral("-loglevel"), QStringLiteral("error"), QStringLiteral("-y"),
                  QStringLiteral("-f"), QStringLiteral("lavfi"), QStringLiteral("-i"),
                  QStringLiteral("testsrc=size=64x48:rate=2:duration=") + seconds,
                  QStringLiteral("-f"), QStringLiteral("lavfi"), QStringLiteral("-i"),
                  QStringLiteral("sine=frequency=440:duration=") + seconds, QStringLiteral("-c:v"),
                  QStringLiteral("libvpx"), QStringLiteral("-b:v"), QStringLiteral("40k"),
                  QStringLiteral("-c:a"), QStringLiteral("libopus"), QStringLiteral("-shortest"),
                  file});
    if (!ffmpeg.waitForFinished(120000) || ffmpeg.exitCode() != 0) {
        *problem = QStringLiteral("ffmpeg could not make the video: ") +
                   QString::fromLocal8Bit(ffmpeg.readAll());
        return false;
    }
    return true;
}

} // namespace

ChromiumPage::ChromiumPage() = default;

ChromiumPage::~ChromiumPage() {
    quit();
}

bool ChromiumPage::start(QString* problem) {
    // Made once per test run; each page links to it.
    static QTemporaryDir videoFolder;
    const QString video = videoFolder.filePath(QStringLiteral("video.webm"));
    if (!QFile::exists(video) && !makeVideo(video, problem)) {
        return false;
    }
    if (!QFile::link(video, m_folder.filePath(QStringLiteral("video.webm")))) {
        *problem = QStringLiteral("cannot link the video");
        return false;
    }
    QFile page(m_folder.filePath(QStringLiteral("page.html")));
    if (!page.open(QIODevice::WriteOnly)) {
        *problem = QStringLiteral("cannot write the page");
        return false;
    }
    page.write(QStringLiteral("<!doctype html><title>%1</title>\n"
                              "<video src=\"video.webm\" autoplay controls></video>\n"
                              "<script>navigator.mediaSession.metadata = new MediaMetadata("
                              "{title: \"%1\", artist: \"%2\"});</script>\n")
                   .arg(QLatin1String(title), QLatin1String(artist))
                   .toUtf8());
    page.close();

    m_server = std::make_unique<RangeHttpServer>(m_folder.path());
    if (!m_server->listen()) {
        *problem = QStringLiteral("no port for the page");
        return false;
    }
    m_browser.setProcessChannelMode(QProcess::MergedChannels);
    m_browser.setStandardOutputFile(m_folder.filePath(QStringLiteral("chromium.log")));
    m_browser.start(
        QStringLiteral("chromium"),
        {QStringLiteral("--no-sandbox"),
         QStringLiteral("--autoplay-policy=no-user-gesture-required"),
         QStringLiteral("--no-first-run"), QStringLiteral("--disable-background-networking"),
         QStringLiteral("--disable-component-update"), QStringLiteral("--disable-sync"),
         QStringLiteral("--user-data-dir=") + m_folder.filePath(QStringLiteral("profile")),
         m_server->url(QStringLiteral("page.html"))});
    if (!m_browser.waitForStarted(30000)) {
        *problem = QStringLiteral("chromium did not start: ") + m_browser.errorString();
        return false;
    }
    return true;
}

QString ChromiumPage::busName() const {
    const QString name = QStringLiteral("org.mpris.MediaPlayer2.chromium.instance%1").arg(pid());
    return QDBusConnection::sessionBus().interface()->isServiceRegistered(name).value() ? name
                                                                                        : QString();
}

bool ChromiumPage::waitUntilPlaying(int timeoutMs) {
    const QDeadlineTimer deadline(timeoutMs);
    while (!deadline.hasExpired() && m_browser.state() == QProcess::Running) {
        const QString name = busName();
        if (!name.isEmpty()) {
            const auto state = MprisClient::readState(QDBusConnection::sessionBus(), name, 3000);
            if (state && state->isPlaying() && state->positionUs && *state->positionUs > 0) {
                return true;
            }
        }
        // The page is served from this thread: let it answer.
        QTest::qWait(100);
    }
    return false;
}

void ChromiumPage::quit() {
    if (m_browser.state() != QProcess::NotRunning) {
        m_browser.kill();
        m_browser.waitForFinished(10000);
    }
}
