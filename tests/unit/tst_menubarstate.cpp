#include "views/MenuBarState.h"

#include <QtTest>

// The panel's choice of line, from the status alone.
class TestMenuBarState : public QObject {
    Q_OBJECT

private:
    static SeekFeedback feedback() {
        return {MediaApp::spotify, FeedbackKind::forward, QUuid::createUuid()};
    }
    static NowPlaying playing() { return {QStringLiteral("Song"), QString(), MediaApp::spotify}; }

private slots:
    void nothingKnownIsNoMedia() {
        QCOMPARE(menuBarState(std::nullopt, std::nullopt, std::nullopt, std::nullopt),
                 MenuBarState::noMedia);
    }

    void theLastAppShowsWhenNothingElseDoes() {
        QCOMPARE(menuBarState(std::nullopt, std::nullopt, std::nullopt, MediaApp::appleMusic),
                 MenuBarState::lastApp);
    }

    void whatIsPlayingWinsOverTheLastApp() {
        QCOMPARE(menuBarState(std::nullopt, std::nullopt, playing(), MediaApp::appleMusic),
                 MenuBarState::nowPlaying);
        QCOMPARE(menuBarState(std::nullopt, std::nullopt, playing(), std::nullopt),
                 MenuBarState::nowPlaying);
    }

    void aProblemWinsOverWhatIsPlaying() {
        QCOMPARE(menuBarState(std::nullopt, QStringLiteral("No media apps running"), playing(),
                              MediaApp::spotify),
                 MenuBarState::status);
        // An empty message is still a message.
        QCOMPARE(menuBarState(std::nullopt, QString(), std::nullopt, std::nullopt),
                 MenuBarState::status);
    }

    void feedbackWinsOverEverything() {
        QCOMPARE(menuBarState(feedback(), QStringLiteral("Spotify returned an error"), playing(),
                              MediaApp::spotify),
                 MenuBarState::feedback);
        QCOMPARE(menuBarState(feedback(), std::nullopt, std::nullopt, std::nullopt),
                 MenuBarState::feedback);
    }

    void everyStateHasItsName() {
        QCOMPARE(menuBarStateName(MenuBarState::feedback), QStringLiteral("feedback"));
        QCOMPARE(menuBarStateName(MenuBarState::status), QStringLiteral("status"));
        QCOMPARE(menuBarStateName(MenuBarState::nowPlaying), QStringLiteral("nowPlaying"));
        QCOMPARE(menuBarStateName(MenuBarState::noMedia), QStringLiteral("noMedia"));
        QCOMPARE(menuBarStateName(MenuBarState::lastApp), QStringLiteral("lastApp"));
    }
};

QTEST_GUILESS_MAIN(TestMenuBarState)
#include "tst_menubarstate.moc"
