// Which media app an MPRIS player stands for, by its bus name and the program owning it.
#include "platform/linux/PlayerClassifier.h"

#include <QtTest>

class TestPlayerClassifier : public QObject {
    Q_OBJECT

private slots:
    void classification_data() {
        QTest::addColumn<QString>("name");
        QTest::addColumn<QString>("program");
        QTest::addColumn<int>("app"); // -1: not a media app
        QTest::newRow("spotify") << "org.mpris.MediaPlayer2.spotify"
                                 << "/usr/bin/spotify" << 0;
        QTest::newRow("spotify instance") << "org.mpris.MediaPlayer2.spotify.instance7"
                                          << "" << 0;
        QTest::newRow("chromium") << "org.mpris.MediaPlayer2.chromium.instance42"
                                  << "/usr/lib/chromium/chromium" << 2;
        QTest::newRow("chrome") << "org.mpris.MediaPlayer2.chrome.instance42"
                                << "/opt/google/chrome/chrome" << 2;
        const int other = MediaApp::otherPlayers;
        QTest::newRow("electron app") << "org.mpris.MediaPlayer2.chromium.instance42"
                                      << "/usr/lib/slack/slack" << other;
        QTest::newRow("brave") << "org.mpris.MediaPlayer2.brave.instance42"
                               << "/opt/brave.com/brave/brave" << 2;
        QTest::newRow("brave under chromium's name") << "org.mpris.MediaPlayer2.chromium.instance42"
                                                     << "/opt/brave.com/brave/brave" << 2;
        QTest::newRow("edge") << "org.mpris.MediaPlayer2.edge.instance42"
                              << "/opt/microsoft/msedge/msedge" << 2;
        QTest::newRow("vivaldi") << "org.mpris.MediaPlayer2.vivaldi.instance42"
                                 << "/opt/vivaldi/vivaldi-bin" << 2;
        QTest::newRow("opera") << "org.mpris.MediaPlayer2.opera"
                               << "/usr/lib/x86_64-linux-gnu/opera/opera" << 2;
        QTest::newRow("electron app as edge") << "org.mpris.MediaPlayer2.edge.instance42"
                                              << "/usr/share/code/code" << other;
        QTest::newRow("unknown owner") << "org.mpris.MediaPlayer2.chromium.instance42"
                                       << "" << other;
        QTest::newRow("firefox") << "org.mpris.MediaPlayer2.firefox.instance_1_84"
                                 << "" << int(MediaApp::firefox);
        QTest::newRow("older firefox") << "org.mpris.MediaPlayer2.firefox.instance1234"
                                       << "" << int(MediaApp::firefox);
        QTest::newRow("not firefox's name") << "org.mpris.MediaPlayer2.firefoxish"
                                            << "" << other;
        QTest::newRow("mpv") << "org.mpris.MediaPlayer2.mpv"
                             << "/usr/bin/mpv" << other;
        QTest::newRow("vlc") << "org.mpris.MediaPlayer2.vlc"
                             << "/usr/bin/vlc" << other;
        QTest::newRow("spotifyd-like") << "org.mpris.MediaPlayer2.spotifyd"
                                       << "" << other;
        QTest::newRow("no player's name") << "org.mpris.MediaPlayer2."
                                          << "" << -1;
        QTest::newRow("not mpris") << "org.example.spotify"
                                   << "" << -1;
    }
    void classification() {
        QFETCH(QString, name);
        QFETCH(QString, program);
        QFETCH(int, app);
        const std::optional<MediaApp> found = PlayerClassifier::classify(name, program);
        QCOMPARE(found.has_value(), app >= 0);
        if (found) {
            QCOMPARE(static_cast<int>(found->value()), app);
        }
    }

    // Only the Chromium family's names need the owner's program to be told apart.
    void theOwnerIsNeededOnlyForChromiumNames_data() {
        QTest::addColumn<QString>("name");
        QTest::addColumn<bool>("needed");
        QTest::newRow("chromium") << "org.mpris.MediaPlayer2.chromium.instance42" << true;
        QTest::newRow("chrome") << "org.mpris.MediaPlayer2.chrome.instance42" << true;
        QTest::newRow("brave") << "org.mpris.MediaPlayer2.brave.instance42" << true;
        QTest::newRow("edge") << "org.mpris.MediaPlayer2.edge.instance42" << true;
        QTest::newRow("vivaldi") << "org.mpris.MediaPlayer2.vivaldi.instance42" << true;
        QTest::newRow("opera") << "org.mpris.MediaPlayer2.opera" << true;
        QTest::newRow("spotify") << "org.mpris.MediaPlayer2.spotify" << false;
        QTest::newRow("firefox") << "org.mpris.MediaPlayer2.firefox.instance_1_84" << false;
        QTest::newRow("vlc") << "org.mpris.MediaPlayer2.vlc" << false;
        QTest::newRow("no player's name") << "org.mpris.MediaPlayer2." << false;
        QTest::newRow("not mpris") << "org.example.chromium.instance42" << false;
    }
    void theOwnerIsNeededOnlyForChromiumNames() {
        QFETCH(QString, name);
        QFETCH(bool, needed);
        QCOMPARE(PlayerClassifier::needsOwnerProgram(name), needed);
    }

    // A program replaced by an upgrade while it runs is still the browser: its path is given
    // as it was, and only its file name counts.
    void onlyTheProgramsFileNameCounts() {
        const QString name = QStringLiteral("org.mpris.MediaPlayer2.chromium.instance9");
        QCOMPARE(PlayerClassifier::classify(name, QStringLiteral("chromium")),
                 std::optional<MediaApp>(MediaApp::chromiumYouTube));
        QCOMPARE(PlayerClassifier::classify(name, QStringLiteral("/usr/lib/chromium/chromium")),
                 std::optional<MediaApp>(MediaApp::chromiumYouTube));
        QCOMPARE(PlayerClassifier::classify(name, QStringLiteral("/usr/lib/chromium/chromium-x")),
                 std::optional<MediaApp>(MediaApp::otherPlayers));
    }
};

QTEST_GUILESS_MAIN(TestPlayerClassifier)
#include "tst_playerclassifier.moc"
