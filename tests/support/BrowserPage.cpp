#include "BrowserPage.h"

#include "platform/linux/MprisClient.h"

#include <QDBusConnection>
#include <QDBusConnectionInterface>
#include <QDeadlineTimer>
#include <QFile>
#include <QProcessEnvironment>
#include <QTest>
#include <QUrlQuery>

namespace {

bool makeVideo(const QString& file, QString* problem) {
    QProcess ffmpeg;
    ffmpeg.setProcessChannelMode(QProcess::MergedChannels);
    const QString seconds = QString::number(BrowserPage::videoSeconds);
    ffmpeg.start(QStringLiteral("ffmpeg"),
                 {QStringLiteral("-loglevel"), QStringLiteral("error"), QStringLiteral("-y"),
                  QStringLiteral("-f"), QStringLiteral("lavfi"), QStringLiteral("-i"),
                  QStringLiteral("testsrc=size=64x48:rate=2:duration=") + seconds,
                  QStringLiteral("-f"), QStringLiteral("lavfi"), QStringLiteral("-i"),
                  QStringLiteral("sine=frequency=440:duration=") + seconds, QStringLiteral("-c:v"),
                  QStringLiteral("libvpx"), QStringLiteral("-b:v"), QStringLiteral("40k"),
                  // A key frame every second, as on a video site: a seek decodes little.
                  QStringLiteral("-g"), QStringLiteral("2"), QStringLiteral("-c:a"),
                  QStringLiteral("libopus"), QStringLiteral("-shortest"), file});
    if (!ffmpeg.waitForFinished(120000) || ffmpeg.exitCode() != 0) {
        *problem = QStringLiteral("ffmpeg could not make the video: ") +
                   QString::fromLocal8Bit(ffmpeg.readAll());
        return false;
    }
    return true;
}

} // namespace

BrowserPage::BrowserPage(Browser browser)
    : m_kind(browser) {
    m_clock.start();
}

BrowserPage::~BrowserPage() {
    quit();
}

bool BrowserPage::start(QString* problem) {
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
    page.write(
        QStringLiteral(
            "<!doctype html><title>%1</title>\n"
            "<video id=\"video\" src=\"video.webm\" autoplay controls></video>\n"
            "<script>\n"
            "const video = document.getElementById('video');\n"
            "navigator.mediaSession.metadata = new MediaMetadata("
            "{title: \"%1\", artist: \"%2\"});\n"
            "navigator.mediaSession.setActionHandler('seekforward', () => {\n"
            "  video.currentTime = Math.min(video.currentTime + %3, video.duration); });\n"
            "navigator.mediaSession.setActionHandler('seekbackward', () => {\n"
            "  video.currentTime = Math.max(video.currentTime - %3, 0); });\n"
            "navigator.mediaSession.setActionHandler('seekto', (details) => {\n"
            "  video.currentTime = details.seekTime; });\n"
            "video.addEventListener('seeked', () => {\n"
            "  fetch('/seeked?t=' + video.currentTime).catch(() => {}); });\n"
            "</script>\n")
            .arg(QLatin1String(title), QLatin1String(artist), QString::number(pageStepSeconds))
            .toUtf8());
    page.close();

    m_server = std::make_unique<RangeHttpServer>(m_folder.path());
    QObject::connect(
        m_server.get(), &RangeHttpServer::requested, m_server.get(), [this](const QString& target) {
            if (target.startsWith(QLatin1String("/seeked?"))) {
                const QUrlQuery query(target.section(QLatin1Char('?'), 1));
                m_landings.append(
                    {query.queryItemValue(QStringLiteral("t")).toDouble(), m_clock.nsecsElapsed()});
            }
        });
    if (!m_server->listen()) {
        *problem = QStringLiteral("no port for the page");
        return false;
    }
    if (m_kind == Browser::firefox) {
        return startFirefox(problem);
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

bool BrowserPage::startFirefox(QString* problem) {
    // Firefox plays sound only where it finds a sound device: ALSA's null device stands in.
    QFile asoundrc(m_folder.filePath(QStringLiteral(".asoundrc")));
    QFile prefs(m_folder.filePath(QStringLiteral("profile/user.js")));
    if (!QDir(m_folder.path()).mkpath(QStringLiteral("profile")) ||
        !asoundrc.open(QIODevice::WriteOnly) || !prefs.open(QIODevice::WriteOnly)) {
        *problem = QStringLiteral("cannot write Firefox's profile");
        return false;
    }
    asoundrc.write("pcm.!default { type null }\n");
    asoundrc.close();
    prefs.write("user_pref(\"media.autoplay.default\", 0);\n"
                "user_pref(\"media.autoplay.blocking_policy\", 0);\n"
                "user_pref(\"media.cubeb.backend\", \"alsa\");\n"
                "user_pref(\"browser.shell.checkDefaultBrowser\", false);\n"
                "user_pref(\"browser.aboutwelcome.enabled\", false);\n"
                "user_pref(\"datareporting.policy.dataSubmissionEnabled\", false);\n"
                "user_pref(\"toolkit.telemetry.reporting.enabled\", false);\n"
                "user_pref(\"app.update.enabled\", false);\n");
    prefs.close();
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert(QStringLiteral("HOME"), m_folder.path());
    m_browser.setProcessEnvironment(environment);
    m_browser.setProcessChannelMode(QProcess::MergedChannels);
    m_browser.setStandardOutputFile(m_folder.filePath(QStringLiteral("firefox.log")));
    m_browser.start(QStringLiteral("firefox-esr"),
                    {QStringLiteral("--no-remote"), QStringLiteral("--profile"),
                     m_folder.filePath(QStringLiteral("profile")),
                     m_server->url(QStringLiteral("page.html"))});
    if (!m_browser.waitForStarted(30000)) {
        *problem = QStringLiteral("firefox did not start: ") + m_browser.errorString();
        return false;
    }
    return true;
}

QString BrowserPage::busName() const {
    // Chromium's name carries its process id; Firefox's a number of its own.
    const QString family = m_kind == Browser::firefox ? QStringLiteral("firefox.instance")
                                                      : QStringLiteral("chromium.instance");
    QDBusConnectionInterface* bus = QDBusConnection::sessionBus().interface();
    for (const QString& name : bus->registeredServiceNames().value()) {
        if (name.startsWith(QStringLiteral("org.mpris.MediaPlayer2.") + family) &&
            bus->servicePid(name).value() == static_cast<uint>(pid())) {
            return name;
        }
    }
    return {};
}

bool BrowserPage::waitUntilPlaying(int timeoutMs) {
    const QDeadlineTimer deadline(timeoutMs);
    while (!deadline.hasExpired() && m_browser.state() == QProcess::Running) {
        const QString name = busName();
        if (!name.isEmpty()) {
            const auto state = MprisClient::readState(PlayerBus::session(), name, 3000);
            if (state && state->isPlaying() && state->positionUs && *state->positionUs > 0) {
                return true;
            }
        }
        // The page is served from this thread: let it answer.
        QTest::qWait(100);
    }
    return false;
}

void BrowserPage::quit() {
    if (m_browser.state() != QProcess::NotRunning) {
        m_browser.kill();
        m_browser.waitForFinished(10000);
    }
}
