// The seeks prepared at start: each amount of the actions once, play/pause never, on a thread
// of its own; where players are driven by scripts, the scripts are what gets built.
#include "app/SeekWarmup.h"
#include "scripting/AppleScriptService.h"
#include "scripting/ChromeYouTubeController.h"
#include "scripting/NativeMediaAppController.h"
#include "scripting/SafariYouTubeController.h"
#include "scripting/ScriptedPlayerControl.h"
#include "support/FakePlayers.h"
#include "support/ScriptedEngine.h"

#include <QtTest>

namespace {

using Direction = SeekAction::Direction;

constexpr std::uint32_t mask =
    CarbonModifier::control | CarbonModifier::option | CarbonModifier::command;

const QList<SeekAction> actions{
    SeekAction(Direction::forward, 15, 124, mask), SeekAction(Direction::backward, 7.5, 123, mask),
    SeekAction(Direction::playPause, 30, 49, mask), SeekAction(Direction::forward, 15, 116, mask)};

// The scripts a seek of this many seconds runs, one per target.
QSet<QString> seekScripts(double seconds) {
    return {SpotifyController::seekScript(seconds), MusicController::seekScript(seconds),
            ChromeYouTubeController::scriptSource(seconds),
            SafariYouTubeController::scriptSource(seconds)};
}

QList<double> warmed(const FakePlayers& players) {
    QList<double> seconds;
    for (const FakePlayers::Record& record : players.records()) {
        if (record.call == FakePlayers::Call::warm) {
            seconds.append(record.seconds);
        }
    }
    return seconds;
}

} // namespace

class TestSeekWarmup : public QObject {
    Q_OBJECT

private slots:
    void eachAmountOnceAndPlayPauseNever() {
        QCOMPARE(SeekWarmup::amounts(actions), (QList<double>{15.0, -7.5}));
        QVERIFY(SeekWarmup::amounts({}).isEmpty());
        QVERIFY(SeekWarmup::amounts({actions[2]}).isEmpty());
    }

    void thePlayersPrepareEachAmount() {
        auto players = std::make_shared<FakePlayers>();
        QVERIFY(SeekWarmup::start(players, actions));
        QTRY_COMPARE(warmed(*players), (QList<double>{15.0, -7.5}));
    }

    // Where players are driven by scripts, each target's seek script is built as a seek of that
    // amount runs it, so that the first press finds it in the cache.
    void scriptedPlayersBuildTheirSeekScripts() {
        auto engine = std::make_shared<ScriptedEngine>();
        QVERIFY(SeekWarmup::start(std::make_shared<ScriptedPlayerControl>(engine), actions));
        QTRY_COMPARE(engine->builtSources(), seekScripts(15) | seekScripts(-7.5));
        for (const QString& source : seekScripts(15)) {
            QCOMPARE(engine->builds(source), 1);
        }
    }
};

QTEST_GUILESS_MAIN(TestSeekWarmup)
#include "tst_seekwarmup.moc"
