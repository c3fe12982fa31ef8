#include "core/UpdateChecker.h"
#include "core/WebAddresses.h"
#include "support/Screenshots.h"
#include "support/ScriptedHttpServer.h"
#include "views/settings/AboutSettingsTab.h"
#include "views/widgets/Style.h"
#include "views/widgets/SymbolView.h"

#include <QApplication>
#include <QClipboard>
#include <QLabel>
#include <QProcess>
#include <QPushButton>
#include <QSignalSpy>
#include <QSslCertificate>
#include <QSslConfiguration>
#include <QSslKey>
#include <QStyle>
#include <QTcpServer>
#include <QTemporaryDir>
#include <QtTest>

#include <memory>

namespace {

const QString documentPath = QStringLiteral("/scrubline/version.json");
const QString systemText = QStringLiteral("Testix 1 | Linux 6.0 | x86_64");

bool isOrange(const QColor& color) {
    return color.hslSaturation() > 150 && color.hslHue() >= 25 && color.hslHue() <= 45;
}

bool isGreen(const QColor& color) {
    return color.hslSaturation() > 100 && color.hslHue() >= 90 && color.hslHue() <= 150;
}

ScriptedHttpServer::Answer json(const QByteArray& body, const QByteArray& status = "200 OK") {
    ScriptedHttpServer::Answer answer;
    answer.status = status;
    answer.body = body;
    return answer;
}

} // namespace

class TestAboutSettingsTab : public QObject {
    Q_OBJECT

private:
    std::unique_ptr<ScriptedHttpServer> m_server;
    std::unique_ptr<AboutSettingsTab> m_tab;

    AboutSettingsTab& openTab(const QString& version, const QString& base,
                              const QString& build = QStringLiteral("7")) {
        AboutSettingsTab::Info info{version, build, systemText, WebAddresses(QUrl(base)),
                                    QStringLiteral("The developers")};
        m_tab = std::make_unique<AboutSettingsTab>(std::move(info));
        m_tab->resize(456, m_tab->sizeHint().height());
        m_tab->show();
        if (!QTest::qWaitForWindowExposed(m_tab.get())) {
            qWarning("the tab was not exposed");
        }
        return *m_tab;
    }

    QPushButton* checkButton() {
        return m_tab->findChild<QPushButton*>(QStringLiteral("checkForUpdatesButton"));
    }
    QLabel* statusLine() { return m_tab->findChild<QLabel*>(QStringLiteral("updateStatus")); }
    QLabel* downloadLink() { return m_tab->findChild<QLabel*>(QStringLiteral("downloadLink")); }

    // Presses "Check for Updates" and answers the line shown once the check is over.
    QString check() {
        QSignalSpy checked(m_tab.get(), &AboutSettingsTab::updateChecked);
        QTest::mouseClick(checkButton(), Qt::LeftButton);
        if (!checked.wait(10000)) {
            return QStringLiteral("(no answer)");
        }
        return statusLine()->isVisible() ? statusLine()->text() : QStringLiteral("(hidden)");
    }

    QString checkAgainst(const QString& running, const ScriptedHttpServer::Answer& answer) {
        m_server->answer(documentPath, answer);
        openTab(running, m_server->base());
        return check();
    }

private slots:
    void init() {
        m_server = std::make_unique<ScriptedHttpServer>();
        QVERIFY(m_server->listen());
    }
    void cleanup() {
        m_tab.reset();
        m_server.reset();
        QApplication::setPalette(QApplication::style()->standardPalette());
    }

    void theHeaderNamesTheVersionBuildAndSystem() {
        openTab(QStringLiteral("2.3.4"), m_server->base());
        QCOMPARE(m_tab->findChild<QLabel*>(QStringLiteral("appName"))->text(),
                 QStringLiteral("Scrubline"));
        QCOMPARE(m_tab->findChild<QLabel*>(QStringLiteral("versionLine"))->text(),
                 QStringLiteral("Version 2.3.4 (7)"));
        QCOMPARE(m_tab->findChild<QLabel*>(QStringLiteral("systemLine"))->text(), systemText);
        auto* symbol = m_tab->findChild<SymbolView*>(QStringLiteral("appSymbol"));
        QCOMPARE(symbol->symbolName(), QStringLiteral("goforward.10"));
        QCOMPARE(symbol->sizeHint(), QSize(48, 48));
        QCOMPARE(symbol->color(), Style::accent(symbol->palette()));
        QCOMPARE(m_tab->findChild<QLabel*>(QStringLiteral("developerName"))->text(),
                 QStringLiteral("The developers"));
    }

    void theVersionAndBuildFallBack() {
        openTab(QString(), m_server->base(), QString());
        QCOMPARE(m_tab->appVersion(), QStringLiteral("1.0.0"));
        QCOMPARE(m_tab->buildNumber(), QStringLiteral("1"));
        QCOMPARE(m_tab->findChild<QLabel*>(QStringLiteral("versionLine"))->text(),
                 QStringLiteral("Version 1.0.0 (1)"));
    }

    void theWebsiteLinkReadsWithoutItsScheme() {
        openTab(QStringLiteral("1.0.0"), QStringLiteral("https://scrubline.example"));
        auto* link = m_tab->findChild<QLabel*>(QStringLiteral("websiteLink"));
        QCOMPARE(link->accessibleName(), QStringLiteral("scrubline.example/scrubline"));
        QCOMPARE(link->property("url").toUrl(),
                 QUrl(QStringLiteral("https://scrubline.example/scrubline")));
        QCOMPARE(downloadLink()->property("url").toUrl(),
                 QUrl(QStringLiteral("https://scrubline.example/scrubline/download")));
    }

    void theEnvironmentReplacesTheBuiltInAddress() {
        qunsetenv(WebAddresses::overrideVariable);
        QCOMPARE(WebAddresses::configured(QStringLiteral("https://a.example")).updateDocument(),
                 QUrl(QStringLiteral("https://a.example/scrubline/version.json")));
        qputenv(WebAddresses::overrideVariable, "http://127.0.0.1:9/mirror/");
        QCOMPARE(WebAddresses::configured(QStringLiteral("https://a.example")).updateDocument(),
                 QUrl(QStringLiteral("http://127.0.0.1:9/mirror/scrubline/version.json")));
        qunsetenv(WebAddresses::overrideVariable);
    }

    void copyDebugInfoPutsTheLineOnTheClipboardAndSaysCopied() {
        openTab(QStringLiteral("2.3.4"), m_server->base());
        m_tab->setCopiedDuration(150);
        auto* copy = m_tab->findChild<QPushButton*>(QStringLiteral("copyDebugInfoButton"));
        QCOMPARE(copy->text(), QStringLiteral("Copy Debug Info"));
        QTest::mouseClick(copy, Qt::LeftButton);
        QCOMPARE(QGuiApplication::clipboard()->text(),
                 QStringLiteral("Scrubline 2.3.4 (7) | ") + systemText);
        QCOMPARE(copy->text(), QStringLiteral("Copied"));
        QVERIFY(isGreen(copy->palette().color(QPalette::ButtonText)));
        QTRY_COMPARE(copy->text(), QStringLiteral("Copy Debug Info"));
        QCOMPARE(copy->palette().color(QPalette::ButtonText), Style::accent(copy->palette()));
    }

    void aSecondCopyIsEndedByTheFirstReset() {
        openTab(QStringLiteral("2.3.4"), m_server->base());
        m_tab->setCopiedDuration(300);
        auto* copy = m_tab->findChild<QPushButton*>(QStringLiteral("copyDebugInfoButton"));
        QStringList seen;
        QTest::mouseClick(copy, Qt::LeftButton);
        QTest::qWait(150);
        QTest::mouseClick(copy, Qt::LeftButton);
        seen << copy->text();
        // The first press's reset ends "Copied" before the second's would.
        QTRY_COMPARE(copy->text(), QStringLiteral("Copy Debug Info"));
        QTest::qWait(200);
        seen << copy->text();
        QCOMPARE(seen, (QStringList{QStringLiteral("Copied"), QStringLiteral("Copy Debug Info")}));
    }

    void nothingIsSentUntilTheButtonIsPressed() {
        m_server->answer(documentPath, json(R"({"version":"1.0.0"})"));
        openTab(QStringLiteral("1.0.0"), m_server->base());
        QTest::qWait(200);
        QVERIFY(m_server->requested().isEmpty());
        QVERIFY(!statusLine()->isVisible());
        QVERIFY(!downloadLink()->isVisible());
        check();
        QCOMPARE(m_server->requested(), QStringList{documentPath});
    }

    void theSameVersionIsUpToDateInGreen() {
        QCOMPARE(checkAgainst(QString(), json(R"({"version":"1.0.0"})")),
                 QStringLiteral("You are up to date (v1.0.0)."));
        QVERIFY(isGreen(statusLine()->palette().color(QPalette::WindowText)));
        QVERIFY(!downloadLink()->isVisible());
        QVERIFY(checkButton()->isEnabled());
    }

    void anotherVersionIsOfferedInOrangeWithTheDownloadLink_data() {
        QTest::addColumn<QString>("running");
        QTest::addColumn<QByteArray>("document");
        QTest::addColumn<QString>("line");
        QTest::newRow("newer") << QStringLiteral("1.0.0") << QByteArray(R"({"version":"1.1.0"})")
                               << QStringLiteral("Update available: v1.1.0");
        QTest::newRow("older") << QStringLiteral("1.0.0") << QByteArray(R"({"version":"0.9"})")
                               << QStringLiteral("Update available: v0.9");
        QTest::newRow("written otherwise")
            << QStringLiteral("1.2.0") << QByteArray(R"({"version":"1.2"})")
            << QStringLiteral("Update available: v1.2");
        QTest::newRow("other members ignored")
            << QStringLiteral("1.0.0") << QByteArray(R"({"notes":"x","version":"v1.0.0"})")
            << QStringLiteral("Update available: vv1.0.0");
    }
    void anotherVersionIsOfferedInOrangeWithTheDownloadLink() {
        QFETCH(QString, running);
        QFETCH(QByteArray, document);
        QFETCH(QString, line);
        QCOMPARE(checkAgainst(running, json(document)), line);
        QVERIFY(isOrange(statusLine()->palette().color(QPalette::WindowText)));
        QVERIFY(downloadLink()->isVisible());
        QCOMPARE(downloadLink()->accessibleName(), QStringLiteral("Download Latest Version"));
        QCOMPARE(downloadLink()->property("url").toUrl(),
                 QUrl(m_server->base() + QStringLiteral("/scrubline/download")));
    }

    // What the checker found decides, not the words of the line: a version that happens to read
    // "available" is still up to date.
    void theSameVersionIsUpToDateWhateverItsWords() {
        QCOMPARE(
            checkAgainst(QStringLiteral("1.0-available"), json(R"({"version":"1.0-available"})")),
            QStringLiteral("You are up to date (v1.0-available)."));
        QVERIFY(isGreen(statusLine()->palette().color(QPalette::WindowText)));
        QVERIFY(!downloadLink()->isVisible());
    }

    void aDocumentThatIsNotOneCannotBeParsed_data() {
        QTest::addColumn<QByteArray>("status");
        QTest::addColumn<QByteArray>("body");
        QTest::newRow("a number") << QByteArray("200 OK") << QByteArray(R"({"version":2})");
        QTest::newRow("no version") << QByteArray("200 OK") << QByteArray(R"({"latest":"2.0"})");
        QTest::newRow("an array") << QByteArray("200 OK") << QByteArray(R"(["1.0.0"])");
        QTest::newRow("a string") << QByteArray("200 OK") << QByteArray(R"("1.0.0")");
        QTest::newRow("empty") << QByteArray("200 OK") << QByteArray();
        QTest::newRow("html 404") << QByteArray("404 Not Found")
                                  << QByteArray("<html><body>Not Found</body></html>");
        QTest::newRow("huge") << QByteArray("200 OK")
                              << (QByteArray(R"({"version":"1.0.0","pad":")") +
                                  QByteArray(2 * 1024 * 1024, 'x') + QByteArray(R"("})"));
    }
    void aDocumentThatIsNotOneCannotBeParsed() {
        QFETCH(QByteArray, status);
        QFETCH(QByteArray, body);
        QCOMPARE(checkAgainst(QStringLiteral("1.0.0"), json(body, status)),
                 QStringLiteral("Could not parse response."));
        // Green, as only an offered update stands out.
        QVERIFY(isGreen(statusLine()->palette().color(QPalette::WindowText)));
        QVERIFY(!downloadLink()->isVisible());
    }

    void theStatusCodeDoesNotMatterWhenTheBodyParses() {
        QCOMPARE(checkAgainst(QStringLiteral("1.0.0"),
                              json(R"({"version":"1.0.0"})", "500 Internal Server Error")),
                 QStringLiteral("You are up to date (v1.0.0)."));
    }

    void aServerThatNeverAnswersTimesOut() {
        ScriptedHttpServer::Answer silent;
        silent.silent = true;
        m_server->answer(documentPath, silent);
        openTab(QStringLiteral("1.0.0"), m_server->base());
        m_tab->setUpdateTimeout(300);
        QSignalSpy checked(m_tab.get(), &AboutSettingsTab::updateChecked);
        QTest::mouseClick(checkButton(), Qt::LeftButton);
        // Under way: the button cannot start a second check.
        QVERIFY(!checkButton()->isEnabled());
        QVERIFY(!statusLine()->isVisible());
        QTest::mouseClick(checkButton(), Qt::LeftButton);
        QVERIFY(checked.wait(10000));
        QCOMPARE(checked.count(), 1);
        QVERIFY2(statusLine()->text().startsWith(QStringLiteral("Could not check: ")),
                 qPrintable(statusLine()->text()));
        QVERIFY(checkButton()->isEnabled());
        QCOMPARE(m_server->requested().size(), 1);
    }

    void aRefusedConnectionCannotBeChecked() {
        // A port that was just free and is closed again.
        QTcpServer probe;
        QVERIFY(probe.listen(QHostAddress::LocalHost, 0));
        const quint16 port = probe.serverPort();
        probe.close();
        openTab(QStringLiteral("1.0.0"), QStringLiteral("http://127.0.0.1:%1").arg(port));
        const QString line = check();
        QVERIFY2(line.startsWith(QStringLiteral("Could not check: ")), qPrintable(line));
        QVERIFY(line.size() > QStringLiteral("Could not check: ").size());
        QVERIFY(isGreen(statusLine()->palette().color(QPalette::WindowText)));
    }

    void aNewCheckClearsTheLastLineFirst() {
        m_server->answer(documentPath, json(R"({"version":"2.0.0"})"));
        openTab(QStringLiteral("1.0.0"), m_server->base());
        QCOMPARE(check(), QStringLiteral("Update available: v2.0.0"));
        ScriptedHttpServer::Answer silent;
        silent.silent = true;
        m_server->answer(documentPath, silent);
        m_tab->setUpdateTimeout(300);
        QSignalSpy checked(m_tab.get(), &AboutSettingsTab::updateChecked);
        QTest::mouseClick(checkButton(), Qt::LeftButton);
        QVERIFY(!statusLine()->isVisible());
        QVERIFY(!downloadLink()->isVisible());
        QVERIFY(checked.wait(10000));
    }

    void aRedirectFromHttpsToHttpIsNotFollowed() {
        QTemporaryDir dir;
        const QString key = dir.filePath(QStringLiteral("key.pem"));
        const QString certificate = dir.filePath(QStringLiteral("certificate.pem"));
        const int made = QProcess::execute(
            QStringLiteral("openssl"),
            {QStringLiteral("req"), QStringLiteral("-x509"), QStringLiteral("-newkey"),
             QStringLiteral("rsa:2048"), QStringLiteral("-nodes"), QStringLiteral("-days"),
             QStringLiteral("1"), QStringLiteral("-subj"), QStringLiteral("/CN=127.0.0.1"),
             QStringLiteral("-addext"), QStringLiteral("subjectAltName=IP:127.0.0.1"),
             QStringLiteral("-keyout"), key, QStringLiteral("-out"), certificate});
        QCOMPARE(made, 0);
        const QList<QSslCertificate> certificates = QSslCertificate::fromPath(certificate);
        QCOMPARE(certificates.size(), 1);
        QFile keyFile(key);
        QVERIFY(keyFile.open(QIODevice::ReadOnly));
        const QSslKey privateKey(&keyFile, QSsl::Rsa);
        // The test's own authority is trusted by this process only.
        QSslConfiguration trusted = QSslConfiguration::defaultConfiguration();
        trusted.addCaCertificate(certificates.first());
        QSslConfiguration::setDefaultConfiguration(trusted);

        ScriptedHttpServer secure;
        QVERIFY(secure.listenEncrypted(certificates.first(), privateKey));
        m_server->answer(documentPath, json(R"({"version":"9.9.9"})"));
        // The encrypted server itself answers when asked directly.
        secure.answer(QStringLiteral("/direct/scrubline/version.json"),
                      json(R"({"version":"1.0.0"})"));
        openTab(QStringLiteral("1.0.0"), secure.base() + QStringLiteral("/direct"));
        QCOMPARE(check(), QStringLiteral("You are up to date (v1.0.0)."));

        ScriptedHttpServer::Answer down;
        down.location = (m_server->base() + documentPath).toUtf8();
        secure.answer(documentPath, down);
        openTab(QStringLiteral("1.0.0"), secure.base());
        const QString line = check();
        QVERIFY2(line.startsWith(QStringLiteral("Could not check: ")), qPrintable(line));
        QVERIFY(m_server->requested().isEmpty());
    }

    void screenshots_data() {
        QTest::addColumn<bool>("dark");
        QTest::newRow("light") << false;
        QTest::newRow("dark") << true;
    }
    void screenshots() {
        QFETCH(bool, dark);
        QApplication::setPalette(dark ? Screenshots::darkPalette() : Screenshots::lightPalette());
        const QString theme = dark ? QStringLiteral("dark") : QStringLiteral("light");
        const auto shoot = [&](const QString& what) {
            m_tab->resize(456, m_tab->sizeHint().height());
            QApplication::processEvents();
            QVERIFY(!Screenshots::save(m_tab->grab(),
                                       QStringLiteral("about-tab-%1-%2").arg(what, theme))
                         .isEmpty());
        };
        m_server->answer(documentPath, json(R"({"version":"0.2.0"})"));
        openTab(QStringLiteral("0.1.0"), m_server->base());
        shoot(QStringLiteral("idle"));
        QTest::mouseClick(m_tab->findChild<QPushButton*>(QStringLiteral("copyDebugInfoButton")),
                          Qt::LeftButton);
        shoot(QStringLiteral("copied"));
        check();
        shoot(QStringLiteral("update-available"));
        m_server->answer(documentPath, json(R"({"version":"0.1.0"})"));
        check();
        shoot(QStringLiteral("up-to-date"));
    }
};

QTEST_MAIN(TestAboutSettingsTab)
#include "tst_aboutsettingstab.moc"
