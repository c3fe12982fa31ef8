#include "views/tray/TrayState.h"

#include <QtTest>

// The panel's choice of line, from the status alone.
class TestTrayState : public QObject {
    Q_OBJECT

private:
    static SeekFeedback feedback() {
        return {MediaApp::spotify, FeedbackKind::forward, QUuid::createUuid()};
    }
    static NowPlaying playing() { return {QStringLiteral("Song"), {}, MediaApp::spotify}; }

private slots:
    void nothingKnownIsNoMedia() {
        QCOMPARE(trayState(std::nullopt, std::nullopt, std::nullopt, std::nullopt),
                 TrayState::noMedia);
    }

    void theLastAppShowsWhenNothingElseDoes() {
        QCOMPARE(trayState(std::nullopt, std::nullopt, std::nullopt, MediaApp::appleMusic),
                 TrayState::lastApp);
    }

    void whatIsPlayingWinsOverTheLastApp() {
        QCOMPARE(trayState(std::nullopt, std::nullopt, playing(), MediaApp::appleMusic),
                 TrayState::nowPlaying);
        QCOMPARE(trayState(std::nullopt, std::nullopt, playing(), std::nullopt),
                 TrayState::nowPlaying);
    }

    void aProblemWinsOverWhatIsPlaying() {
        QCOMPARE(trayState(std::nullopt, QStringLiteral("No media apps running"), playing(),
                           MediaApp::spotify),
                 TrayState::status);
        // An empty message is still a message.
        QCOMPARE(trayState(std::nullopt, QString(), std::nullopt, std::nullopt), TrayState::status);
    }

    void feedbackWinsOverEverything() {
        QCOMPARE(trayState(feedback(), QStringLiteral("Spotify returned an error"), playing(),
                           MediaApp::spotify),
                 TrayState::feedback);
        QCOMPARE(trayState(feedback(), std::nullopt, std::nullopt, std::nullopt),
                 TrayState::feedback);
    }

    void everyStateHasItsName() {
        QCOMPARE(trayStateName(TrayState::feedback), QStringLiteral("feedback"));
        QCOMPARE(trayStateName(TrayState::status), QStringLiteral("status"));
        QCOMPARE(trayStateName(TrayState::nowPlaying), QStringLiteral("nowPlaying"));
        QCOMPARE(trayStateName(TrayState::noMedia), QStringLiteral("noMedia"));
        QCOMPARE(trayStateName(TrayState::lastApp), QStringLiteral("lastApp"));
    }
};

QTEST_GUILESS_MAIN(TestTrayState)
#include "tst_traystate.moc"
