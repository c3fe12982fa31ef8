// Player discovery and control through the session bus: which players stand for which app,
// running names as players come and go, and which of several players is acted on.
#include "core/MediaController.h"
#include "core/MediaStatus.h"
#include "platform/Platform.h"
#include "platform/linux/MprisPlayerControl.h"
#include "platform/linux/MprisPlayerRegistry.h"
#include "platform/linux/MprisRunningApps.h"
#include "platform/linux/OwnerProgramLookup.h"
#include "settings/AppSettings.h"
#include "settings/SettingsStore.h"
#include "support/PlayerProcess.h"
#include "support/TempHome.h"

#include <QDBusConnection>
#include <QDBusServiceWatcher>
#include <QElapsedTimer>
#include <QSettings>
#include <QSignalSpy>
#include <QTimer>
#include <QtTest>

namespace {

const QString prefix = QStringLiteral("org.mpris.MediaPlayer2.");

// A fake player under a bus name and a program name.
std::unique_ptr<PlayerProcess> player(const QString& name, const QString& program,
                                      const QStringList& extra = {}) {
    auto process =
        PlayerProcess::fake(QStringList{QStringLiteral("--name"), name} + extra, program);
    if (!process->waitForBusName(prefix + name)) {
        qFatal("The fake player %s did not start", qPrintable(name));
    }
    return process;
}

// A settings store offering Linux's apps, in the home given.
std::unique_ptr<AppSettings> linuxSettings(const TempHome& home) {
    return std::make_unique<AppSettings>(
        std::make_unique<SettingsStore>(std::make_unique<QSettings>(
            home.path() + QStringLiteral("/s.conf"), QSettings::IniFormat)),
        QList<MediaApp>{MediaApp::spotify, MediaApp::chromiumYouTube, MediaApp::firefox,
                        MediaApp::otherPlayers});
}

QString chromium(qint64 pid) {
    return QStringLiteral("chromium.instance%1").arg(pid);
}

QString firefox(qint64 pid) {
    return QStringLiteral("firefox.instance_1_%1").arg(pid);
}

// A command to a player, as a user's other means (its own window, a media key) would send it.
void command(const QString& busName, const QString& member) {
    const QDBusMessage reply = QDBusConnection::sessionBus().call(
        QDBusMessage::createMethodCall(busName, QStringLiteral("/org/mpris/MediaPlayer2"),
                                       QStringLiteral("org.mpris.MediaPlayer2.Player"), member),
        QDBus::Block, 3000);
    QVERIFY2(reply.type() == QDBusMessage::ReplyMessage, qPrintable(member));
}

} // namespace

class TestMprisPlayers : public QObject {
    Q_OBJECT

private:
    QStringList m_statuses; // the PlaybackStatus of every change the followed player announced

    // Follows what a player announces, as the registry does.
    void follow(const QString& busName) {
        m_statuses.clear();
        QDBusConnection::sessionBus().connect(
            busName, QStringLiteral("/org/mpris/MediaPlayer2"),
            QStringLiteral("org.freedesktop.DBus.Properties"), QStringLiteral("PropertiesChanged"),
            this, SLOT(onPropertiesChanged(QString, QVariantMap, QStringList)));
    }

    // Waits until the followed player has said this many statuses, and a moment more for the
    // registry, which hears the same signals, to have taken them in.
    bool heard(int count) {
        const bool enough = QTest::qWaitFor([&] { return m_statuses.size() >= count; }, 5000);
        QTest::qWait(50);
        return enough;
    }

private slots:
    void onPropertiesChanged(const QString& /*interface*/, const QVariantMap& changed,
                             const QStringList& /*invalidated*/) {
        m_statuses << changed.value(QStringLiteral("PlaybackStatus")).toString();
    }

    void playersAreFollowedAsTheyComeAndGo() {
        MprisPlayerRegistry registry(PlayerBus::session());
        MprisRunningApps running(registry);
        QSignalSpy launched(&running, &RunningApps::launched);
        QSignalSpy terminated(&running, &RunningApps::terminated);
        QVERIFY(running.runningApps().isEmpty());

        auto spotify = player(QStringLiteral("spotify"), QString(), {QStringLiteral("--spotify")});
        QTRY_COMPARE(launched.size(), 1);
        QCOMPARE(launched[0][0], QVariant::fromValue(MediaApp(MediaApp::spotify)));
        QCOMPARE(running.runningApps(), QSet<MediaApp>{MediaApp::spotify});
        QCOMPARE(registry.playersOf(MediaApp::spotify), QStringList{prefix + "spotify"});

        // Every other player, an Electron app under Chromium's name too, is one of the others.
        auto mpvLike = player(QStringLiteral("mpv"), QString());
        auto electron = player(chromium(1), QStringLiteral("slack"));
        QTRY_COMPARE(registry.playersOf(MediaApp::otherPlayers).size(), 2);
        QCOMPARE(launched.size(), 2);
        QCOMPARE(launched[1][0], QVariant::fromValue(MediaApp(MediaApp::otherPlayers)));

        spotify->kill();
        QTRY_COMPARE(terminated.size(), 1);
        QCOMPARE(terminated[0][0], QVariant::fromValue(MediaApp(MediaApp::spotify)));
        mpvLike->kill();
        electron->kill();
        QTRY_COMPARE(terminated.size(), 2);
        QCOMPARE(terminated[1][0], QVariant::fromValue(MediaApp(MediaApp::otherPlayers)));
        QVERIFY(running.runningApps().isEmpty());
    }

    void playersAlreadyThereAreFound() {
        auto spotify = player(QStringLiteral("spotify"), QString());
        auto browser = player(chromium(2), QStringLiteral("chromium"));
        MprisPlayerRegistry registry(PlayerBus::session());
        MprisRunningApps running(registry);
        // Chromium's player is known once its owner's program is: the bus is not waited for.
        QSignalSpy settled(&running, &RunningApps::settled);
        QVERIFY(running.isSettled() || settled.wait(5000));
        QCOMPARE(running.runningApps(),
                 QSet<MediaApp>({MediaApp::spotify, MediaApp::chromiumYouTube}));
    }

    // The program owning a player is asked for without waiting: the GUI thread goes on while
    // the answer is out, and the player is classified once it comes. One gone meanwhile is
    // never reported.
    void theOwnersProgramIsNotWaitedFor() {
        QList<std::function<void()>> held; // the bus daemon's answers, given when the test says
        const OwnerProgramLookup askingBus = OwnerProgram::askingBus(QDBusConnection::sessionBus());
        const OwnerProgramLookup holding = [&](const QString& uniqueName, QObject* context,
                                               std::function<void(const QString&)> answer) {
            askingBus(uniqueName, context, [&held, answer](const QString& program) {
                held << [answer, program] {
                    answer(program);
                };
            });
        };
        MprisPlayerRegistry registry(PlayerBus::session(), holding);
        MprisRunningApps running(registry);
        QSignalSpy settled(&running, &RunningApps::settled);
        QVERIFY(running.isSettled() || settled.wait(5000));
        QSignalSpy launched(&running, &RunningApps::launched);
        QDBusServiceWatcher goneWatch(prefix + chromium(12), QDBusConnection::sessionBus(),
                                      QDBusServiceWatcher::WatchForUnregistration);
        QSignalSpy gone(&goneWatch, &QDBusServiceWatcher::serviceUnregistered);

        auto browser = player(chromium(11), QStringLiteral("chromium"));
        auto goneBrowser = player(chromium(12), QStringLiteral("chromium"));
        QTRY_COMPARE(held.size(), 2);
        // The answers are out, and the GUI thread is free: a timer of its own fires.
        QTimer tick;
        tick.setInterval(5);
        QSignalSpy ticks(&tick, &QTimer::timeout);
        tick.start();
        QTRY_VERIFY(ticks.size() >= 3);
        QVERIFY(launched.isEmpty());
        QVERIFY(registry.playersOf(MediaApp::chromiumYouTube).isEmpty());

        goneBrowser->kill();
        QVERIFY(gone.wait(5000));
        // The bus said the name ended before it answers this call on the same connection, so
        // the registry's copy of that word is queued by now, and the next turn delivers it.
        QDBusConnection::sessionBus().call(QDBusMessage::createMethodCall(
            QStringLiteral("org.freedesktop.DBus"), QStringLiteral("/org/freedesktop/DBus"),
            QStringLiteral("org.freedesktop.DBus"), QStringLiteral("GetId")));
        QCoreApplication::processEvents();
        for (const auto& answer : held) {
            answer();
        }
        QTRY_COMPARE(launched.size(), 1);
        QCOMPARE(launched[0][0], QVariant::fromValue(MediaApp(MediaApp::chromiumYouTube)));
        QCOMPARE(registry.playersOf(MediaApp::chromiumYouTube), QStringList{prefix + chromium(11)});
        QCOMPARE(running.runningApps(), QSet<MediaApp>{MediaApp::chromiumYouTube});
    }

    // A name taken anew while the program of its first owner is still being asked for is a new
    // player: the old answer, coming late, names nobody.
    void aLateAnswerForAFormerOwnerIsPassedOver() {
        QList<std::pair<QString, std::function<void()>>> held; // by the owner asked about
        const OwnerProgramLookup askingBus = OwnerProgram::askingBus(QDBusConnection::sessionBus());
        const OwnerProgramLookup holding = [&](const QString& uniqueName, QObject* context,
                                               std::function<void(const QString&)> answer) {
            askingBus(uniqueName, context, [&held, uniqueName, answer](const QString& program) {
                held.append({uniqueName, [answer, program] {
                                 answer(program);
                             }});
            });
        };
        MprisPlayerRegistry registry(PlayerBus::session(), holding);
        QSignalSpy settled(&registry, &MprisPlayerRegistry::settled);
        QVERIFY(registry.isSettled() || settled.wait(5000));
        QSignalSpy appeared(&registry, &MprisPlayerRegistry::appAppeared);

        // The first owner is a browser, the second an Electron app under the same name.
        auto first = player(chromium(13), QStringLiteral("chromium"));
        QTRY_COMPARE(held.size(), 1);
        first->kill();
        auto second = player(chromium(13), QStringLiteral("slack"));
        QTRY_COMPARE(held.size(), 2);
        QVERIFY(held[0].first != held[1].first);
        // The late answer first, then the one for the owner there now.
        held[0].second();
        QCOMPARE(appeared.size(), 0);
        held[1].second();
        QCOMPARE(appeared.size(), 1);
        QCOMPARE(appeared[0][0], QVariant::fromValue(MediaApp(MediaApp::otherPlayers)));
        QCOMPARE(registry.playersOf(MediaApp::otherPlayers), QStringList{prefix + chromium(13)});
        QCOMPARE(registry.ownerOf(prefix + chromium(13)), held[1].first);
        QVERIFY(registry.playersOf(MediaApp::chromiumYouTube).isEmpty());
    }

    // Chrome stays running until its last player goes.
    void twoChromeFamilyBrowsers() {
        MprisPlayerRegistry registry(PlayerBus::session());
        MprisRunningApps running(registry);
        QSignalSpy launched(&running, &RunningApps::launched);
        QSignalSpy terminated(&running, &RunningApps::terminated);
        auto first = player(chromium(3), QStringLiteral("chromium"));
        auto second = player(QStringLiteral("chrome.instance4"), QStringLiteral("chrome"));
        QTRY_COMPARE(registry.playersOf(MediaApp::chromiumYouTube).size(), 2);
        QCOMPARE(launched.size(), 1);
        first->kill();
        QTRY_COMPARE(registry.playersOf(MediaApp::chromiumYouTube).size(), 1);
        QCOMPARE(terminated.size(), 0);
        QCOMPARE(running.runningApps(), QSet<MediaApp>{MediaApp::chromiumYouTube});
        second->kill();
        QTRY_COMPARE(terminated.size(), 1);
        QCOMPARE(terminated[0][0], QVariant::fromValue(MediaApp(MediaApp::chromiumYouTube)));
    }

    // Of two browsers, the one that plays is sought; play/pause goes to the most recently
    // active when none plays.
    void thePlayingPlayerIsActedOn() {
        MprisPlayerRegistry registry(PlayerBus::session());
        MprisPlayerControl control(registry);
        auto paused = player(chromium(5), QStringLiteral("chromium"), {QStringLiteral("--paused")});
        auto playing = player(chromium(6), QStringLiteral("chromium"));
        auto later = player(chromium(7), QStringLiteral("chromium"), {QStringLiteral("--paused")});
        QTRY_COMPARE(registry.playersOf(MediaApp::chromiumYouTube).size(), 3);

        QCOMPARE(control.seekIfPlaying(MediaApp::chromiumYouTube, 10, 3.0).result,
                 SeekResult::seeked);
        const auto seeks = [](PlayerProcess& p) {
            return p.calls().filter(QStringLiteral("SetPosition")).size();
        };
        QCOMPARE(seeks(*playing), 1);
        QCOMPARE(seeks(*paused) + seeks(*later), 0);

        QCOMPARE(control.playPause(MediaApp::chromiumYouTube, 3.0), SeekResult::seeked);
        QVERIFY(playing->calls().contains(QStringLiteral("PlayPause")));
        // Now none plays: the one acted on last is the most recently active.
        QCOMPARE(control.playPause(MediaApp::chromiumYouTube, 3.0), SeekResult::seeked);
        QCOMPARE(playing->calls().filter(QStringLiteral("PlayPause")).size(), 2);
        QVERIFY(!later->calls().contains(QStringLiteral("PlayPause")));
    }

    // Once a native player's state is known and kept up to date by its signals, a seek well
    // inside the track is one relative Seek, with no read before it.
    void aKnownPlayerIsSeekedInOneCall() {
        MprisPlayerRegistry registry(PlayerBus::session());
        MprisPlayerControl control(registry);
        auto native = player(QStringLiteral("vlc"), QString(),
                             {QStringLiteral("--position"), QStringLiteral("100"),
                              QStringLiteral("--length"), QStringLiteral("240")});
        QTRY_COMPARE(registry.playersOf(MediaApp::otherPlayers).size(), 1);
        const QString name = prefix + QStringLiteral("vlc");
        QCOMPARE(control.seekIfPlaying(MediaApp::otherPlayers, 10, 3.0).result, SeekResult::seeked);
        // Until the player has announced our seek, the position is unsure.
        QVERIFY(!registry.states().canSeekRelatively(name, -5'000'000));
        QTRY_VERIFY(registry.states().canSeekRelatively(name, -5'000'000));
        QCOMPARE(control.seekIfPlaying(MediaApp::otherPlayers, -5, 3.0).result, SeekResult::seeked);
        QTRY_VERIFY(registry.states().canSeekRelatively(name, 2'500'000));
        QCOMPARE(control.seekIfPlaying(MediaApp::otherPlayers, 2.5, 3.0).result,
                 SeekResult::seeked);
        QCOMPARE(native->calls(),
                 (QStringList{QStringLiteral("GetAll org.mpris.MediaPlayer2.Player"),
                              QStringLiteral("Seek 10000000"), QStringLiteral("Seek -5000000"),
                              QStringLiteral("Seek 2500000")}));
    }

    // A browser is moved to positions, never by a relative Seek, which its page may take as a
    // skip of its own size. After the first read it is where we last put it.
    void aBrowserIsSetToPositions() {
        MprisPlayerRegistry registry(PlayerBus::session());
        MprisPlayerControl control(registry);
        auto browser = player(chromium(9), QStringLiteral("chromium"),
                              {QStringLiteral("--position"), QStringLiteral("100"),
                               QStringLiteral("--length"), QStringLiteral("240")});
        QTRY_COMPARE(registry.playersOf(MediaApp::chromiumYouTube).size(), 1);
        QCOMPARE(control.seekIfPlaying(MediaApp::chromiumYouTube, 10, 3.0).result,
                 SeekResult::seeked);
        QCOMPARE(control.seekIfPlaying(MediaApp::chromiumYouTube, -5, 3.0).result,
                 SeekResult::seeked);
        QCOMPARE(control.seekIfPlaying(MediaApp::chromiumYouTube, 2.5, 3.0).result,
                 SeekResult::seeked);
        const QStringList calls = browser->calls();
        QCOMPARE(calls.size(), 4);
        QCOMPARE(calls[0], QStringLiteral("GetAll org.mpris.MediaPlayer2.Player"));
        // Read at 100 s and a little after: 110, 105, 107.5 and a little after.
        const auto target = [&calls](int i) {
            const QStringList set = calls[i].split(QLatin1Char(' '));
            return set.value(0) == QLatin1String("SetPosition") &&
                           set.value(1) == QLatin1String("/org/scrubline/track/1")
                       ? set.value(2).toLongLong()
                       : -1;
        };
        QVERIFY2(target(1) >= 110'000'000 && target(1) < 112'000'000, qPrintable(calls[1]));
        QVERIFY2(target(2) >= 105'000'000 && target(2) < 107'000'000, qPrintable(calls[2]));
        QVERIFY2(target(3) >= 107'500'000 && target(3) < 109'500'000, qPrintable(calls[3]));
        QVERIFY(target(2) < target(1) && target(3) > target(2));
    }

    // A press right after another, before the player has announced the first, reads first.
    void aQuickSecondPressReadsFirst() {
        MprisPlayerRegistry registry(PlayerBus::session());
        MprisPlayerControl control(registry);
        auto native = player(QStringLiteral("vlc"), QString(),
                             {QStringLiteral("--position"), QStringLiteral("100")});
        QTRY_COMPARE(registry.playersOf(MediaApp::otherPlayers).size(), 1);
        QCOMPARE(control.seekIfPlaying(MediaApp::otherPlayers, 10, 3.0).result, SeekResult::seeked);
        QCOMPARE(control.seekIfPlaying(MediaApp::otherPlayers, 10, 3.0).result, SeekResult::seeked);
        QCOMPARE(native->calls().filter(QStringLiteral("GetAll")).size(), 2);
        QCOMPARE(native->calls().filter(QStringLiteral("Seek 10000000")).size(), 2);
    }

    // Spotify never announces its position, so every seek of it reads the position first.
    void spotifyIsAlwaysReadFirst() {
        MprisPlayerRegistry registry(PlayerBus::session());
        MprisPlayerControl control(registry);
        auto spotify = player(
            QStringLiteral("spotify"), QString(),
            {QStringLiteral("--spotify"), QStringLiteral("--position"), QStringLiteral("100")});
        QTRY_COMPARE(registry.playersOf(MediaApp::spotify).size(), 1);
        for (int press = 0; press < 3; ++press) {
            QCOMPARE(control.seekIfPlaying(MediaApp::spotify, 10, 3.0).result, SeekResult::seeked);
            QTest::qWait(100); // time for any signal to be handled
            QVERIFY(!registry.states().canSeekRelatively(prefix + QStringLiteral("spotify"),
                                                         10'000'000));
        }
        QCOMPARE(spotify->calls().filter(QStringLiteral("GetAll")).size(), 3);
        QCOMPARE(spotify->calls().filter(QStringLiteral("Seek 10000000")).size(), 3);
    }

    // Near an end, a native player is read and the target kept inside the track.
    void nearTheEndTheTargetIsClamped() {
        MprisPlayerRegistry registry(PlayerBus::session());
        MprisPlayerControl control(registry);
        auto native = player(QStringLiteral("vlc"), QString(),
                             {QStringLiteral("--position"), QStringLiteral("230"),
                              QStringLiteral("--length"), QStringLiteral("240")});
        QTRY_COMPARE(registry.playersOf(MediaApp::otherPlayers).size(), 1);
        const QString name = prefix + QStringLiteral("vlc");
        QCOMPARE(control.seekIfPlaying(MediaApp::otherPlayers, -1, 3.0).result, SeekResult::seeked);
        // Known and announced, so a small step would go by the quick way; these do not.
        QTRY_VERIFY(registry.states().canSeekRelatively(name, -1'000'000));
        QVERIFY(!registry.states().canSeekRelatively(name, 30'000'000));
        QCOMPARE(control.seekIfPlaying(MediaApp::otherPlayers, 30, 3.0).result, SeekResult::seeked);
        QTRY_VERIFY(registry.states().canSeekRelatively(name, -10'000'000));
        QVERIFY(!registry.states().canSeekRelatively(name, -300'000'000));
        QCOMPARE(control.seekIfPlaying(MediaApp::otherPlayers, -300, 3.0).result,
                 SeekResult::seeked);
        const QStringList calls = native->calls();
        QCOMPARE(calls.filter(QStringLiteral("GetAll")).size(), 3);
        QCOMPARE(calls.filter(QStringLiteral("Seek ")), QStringList{"Seek -1000000"});
        QVERIFY(calls.contains(QStringLiteral("SetPosition /org/scrubline/track/1 240000000")));
        QVERIFY(calls.contains(QStringLiteral("SetPosition /org/scrubline/track/1 0")));
    }

    // A browser's target is kept inside the track as well, with no read after the first.
    void aBrowserTargetIsClamped() {
        MprisPlayerRegistry registry(PlayerBus::session());
        MprisPlayerControl control(registry);
        auto browser = player(chromium(10), QStringLiteral("chromium"),
                              {QStringLiteral("--position"), QStringLiteral("230"),
                               QStringLiteral("--length"), QStringLiteral("240")});
        QTRY_COMPARE(registry.playersOf(MediaApp::chromiumYouTube).size(), 1);
        QCOMPARE(control.seekIfPlaying(MediaApp::chromiumYouTube, 30, 3.0).result,
                 SeekResult::seeked);
        QCOMPARE(control.seekIfPlaying(MediaApp::chromiumYouTube, -300, 3.0).result,
                 SeekResult::seeked);
        QCOMPARE(browser->calls(),
                 (QStringList{QStringLiteral("GetAll org.mpris.MediaPlayer2.Player"),
                              QStringLiteral("SetPosition /org/scrubline/track/1 240000000"),
                              QStringLiteral("SetPosition /org/scrubline/track/1 0")}));
    }

    // A press while our last seek is not yet announced: the position read may predate that
    // seek, so the step goes relatively from wherever the player is, unless it could cross the
    // end, where the clamped move wins.
    void aPressWhileOurSeekIsUnannouncedKeepsTheClamps() {
        MprisPlayerRegistry registry(PlayerBus::session());
        MprisPlayerControl control(registry);
        auto native = player(QStringLiteral("vlc"), QString(),
                             {QStringLiteral("--position"), QStringLiteral("100"),
                              QStringLiteral("--length"), QStringLiteral("240")});
        QTRY_COMPARE(registry.playersOf(MediaApp::otherPlayers).size(), 1);
        const QString name = prefix + QStringLiteral("vlc");
        QCOMPARE(control.seekIfPlaying(MediaApp::otherPlayers, 10, 3.0).result, SeekResult::seeked);
        QTRY_VERIFY(registry.states().canSeekRelatively(name, 10'000'000));
        // No events are taken in between, so each press after the first finds its
        // predecessor unannounced.
        QCOMPARE(control.seekIfPlaying(MediaApp::otherPlayers, 10, 3.0).result, SeekResult::seeked);
        QVERIFY(registry.states().isSeekInFlight(name));
        QCOMPARE(control.seekIfPlaying(MediaApp::otherPlayers, 10, 3.0).result, SeekResult::seeked);
        QCOMPARE(control.seekIfPlaying(MediaApp::otherPlayers, 200, 3.0).result,
                 SeekResult::seeked);
        const QStringList calls = native->calls();
        QCOMPARE(calls.size(), 7);
        QCOMPARE(calls[1], QStringLiteral("Seek 10000000"));
        QCOMPARE(calls[2], QStringLiteral("Seek 10000000"));
        QCOMPARE(calls[3], QStringLiteral("GetAll org.mpris.MediaPlayer2.Player"));
        QCOMPARE(calls[4], QStringLiteral("Seek 10000000"));
        QCOMPARE(calls[5], QStringLiteral("GetAll org.mpris.MediaPlayer2.Player"));
        QCOMPARE(calls[6], QStringLiteral("SetPosition /org/scrubline/track/1 240000000"));
    }

    // A browser says "Stopped" with no metadata for a moment after our seek, then plays the
    // same track again. A press in that moment still moves it, with no read, from where it
    // was, and so does a press after it: the position is kept across.
    void theMomentAfterOurSeekIsHeldOver() {
        MprisPlayerRegistry registry(PlayerBus::session());
        MprisPlayerControl control(registry);
        auto browser = player(chromium(13), QStringLiteral("chromium"),
                              {QStringLiteral("--position"), QStringLiteral("100"),
                               QStringLiteral("--flicker"), QStringLiteral("700")});
        QTRY_COMPARE(registry.playersOf(MediaApp::chromiumYouTube).size(), 1);
        const QString name = prefix + chromium(13);
        follow(name);
        QCOMPARE(control.seekIfPlaying(MediaApp::chromiumYouTube, 10, 3.0).result,
                 SeekResult::seeked);
        QVERIFY(heard(1));
        QCOMPARE(m_statuses, QStringList{QStringLiteral("Stopped")});
        QVERIFY(registry.states().targetWithoutRead(name, -5'000'000).has_value());
        QCOMPARE(control.seekIfPlaying(MediaApp::chromiumYouTube, -5, 3.0).result,
                 SeekResult::seeked);
        QVERIFY(heard(2));
        QCOMPARE(m_statuses.last(), QStringLiteral("Playing"));
        QTRY_VERIFY(registry.states().targetWithoutRead(name, 2'500'000).has_value());
        QCOMPARE(control.seekIfPlaying(MediaApp::chromiumYouTube, 2.5, 3.0).result,
                 SeekResult::seeked);
        const QStringList calls = browser->calls();
        QCOMPARE(calls.filter(QStringLiteral("GetAll")).size(), 1);
        QCOMPARE(calls.filter(QStringLiteral("SetPosition")).size(), 3);
        QCOMPARE(calls.filter(QStringLiteral("Seek ")).size(), 0);
    }

    // Players' ways with their track ids: typed s, or none at all. A native player needs none
    // for a step; at the end it is put there exactly where its id is a path, else moved there.
    void trackIdsTypedSOrMissing() {
        MprisPlayerRegistry registry(PlayerBus::session());
        MprisPlayerControl control(registry);
        auto typedS = player(QStringLiteral("rhythmbox"), QString(),
                             {QStringLiteral("--track-string"), QStringLiteral("--position"),
                              QStringLiteral("230"), QStringLiteral("--paused")});
        auto none = player(
            QStringLiteral("showtime"), QString(),
            {QStringLiteral("--no-track-id"), QStringLiteral("--position"), QStringLiteral("230")});
        QTRY_COMPARE(registry.playersOf(MediaApp::otherPlayers).size(), 2);
        QCOMPARE(control.seekIfPlaying(MediaApp::otherPlayers, 5, 3.0).result, SeekResult::seeked);
        QCOMPARE(none->calls().filter(QStringLiteral("Seek 5000000")).size(), 1);
        QCOMPARE(control.seekIfPlaying(MediaApp::otherPlayers, 30, 3.0).result, SeekResult::seeked);
        const QStringList noneSeeks = none->calls().filter(QStringLiteral("Seek "));
        QCOMPARE(noneSeeks.size(), 2);
        // From about 235 s to the end at 240 s: a little less than 5 s.
        const qint64 lastStep = noneSeeks[1].split(QLatin1Char(' ')).value(1).toLongLong();
        QVERIFY2(lastStep > 3'000'000 && lastStep <= 5'000'000, qPrintable(noneSeeks[1]));
        QCOMPARE(none->calls().filter(QStringLiteral("SetPosition")).size(), 0);

        none->kill();
        command(prefix + QStringLiteral("rhythmbox"), QStringLiteral("Play"));
        QTRY_VERIFY(control.seekIfPlaying(MediaApp::otherPlayers, 30, 3.0).result ==
                    SeekResult::seeked);
        QVERIFY(typedS->calls().contains(
            QStringLiteral("SetPosition /org/scrubline/track/1 240000000")));
    }

    // A browser without a track id is still set to a position: it ignores the id.
    void aBrowserWithoutATrackIdIsSetToAPosition() {
        MprisPlayerRegistry registry(PlayerBus::session());
        MprisPlayerControl control(registry);
        auto browser = player(
            chromium(20), QStringLiteral("chromium"),
            {QStringLiteral("--no-track-id"), QStringLiteral("--position"), QStringLiteral("235")});
        QTRY_COMPARE(registry.playersOf(MediaApp::chromiumYouTube).size(), 1);
        QCOMPARE(control.seekIfPlaying(MediaApp::chromiumYouTube, 30, 3.0).result,
                 SeekResult::seeked);
        QCOMPARE(
            browser->calls(),
            (QStringList{QStringLiteral("GetAll org.mpris.MediaPlayer2.Player"),
                         QStringLiteral("SetPosition /org/mpris/MediaPlayer2/TrackList/NoTrack "
                                        "240000000")}));
    }

    // A player that says it cannot seek, without ever announcing it, is sent no seek and
    // reported as failed, press after press: it is read anew every time.
    void aPlayerThatCannotSeekIsSentNone() {
        MprisPlayerRegistry registry(PlayerBus::session());
        MprisPlayerControl control(registry);
        auto live = player(
            QStringLiteral("radio"), QString(),
            {QStringLiteral("--cannot-seek"), QStringLiteral("--position"), QStringLiteral("100")});
        auto stream = player(
            firefox(21), QString(),
            {QStringLiteral("--cannot-seek"), QStringLiteral("--position"), QStringLiteral("100")});
        QTRY_COMPARE(registry.playersOf(MediaApp::otherPlayers).size(), 1);
        QTRY_COMPARE(registry.playersOf(MediaApp::firefox).size(), 1);
        for (int press = 0; press < 2; ++press) {
            QCOMPARE(control.seekIfPlaying(MediaApp::otherPlayers, 10, 3.0).result,
                     SeekResult::error);
            QCOMPARE(control.seekIfPlaying(MediaApp::firefox, -10, 3.0).result, SeekResult::error);
        }
        for (PlayerProcess* p : {live.get(), stream.get()}) {
            QCOMPARE(p->calls(),
                     (QStringList{QStringLiteral("GetAll org.mpris.MediaPlayer2.Player"),
                                  QStringLiteral("GetAll org.mpris.MediaPlayer2.Player")}));
        }
        // Play/pause still goes through.
        QCOMPARE(control.playPause(MediaApp::otherPlayers, 3.0), SeekResult::seeked);
    }

    // A Position typed i is still a position: a step past the end is clamped from it.
    void aPositionTypedI() {
        MprisPlayerRegistry registry(PlayerBus::session());
        MprisPlayerControl control(registry);
        auto native = player(QStringLiteral("careless"), QString(),
                             {QStringLiteral("--position-int"), QStringLiteral("--position"),
                              QStringLiteral("230")});
        QTRY_COMPARE(registry.playersOf(MediaApp::otherPlayers).size(), 1);
        QCOMPARE(control.seekIfPlaying(MediaApp::otherPlayers, 30, 3.0).result, SeekResult::seeked);
        QCOMPARE(native->calls().value(1),
                 QStringLiteral("SetPosition /org/scrubline/track/1 240000000"));
    }

    // Firefox says its position in whole seconds, in its reads and its announcements alike.
    // The first step goes from the middle of the second read; each later one from where the
    // last one was sent plus the time since, to the microsecond, not on a whole second.
    void wholeSecondPositionsAreNotTakenForExact() {
        MprisPlayerRegistry registry(PlayerBus::session());
        MprisPlayerControl control(registry);
        auto browser = player(firefox(22), QString(),
                              {QStringLiteral("--whole-seconds"), QStringLiteral("--position"),
                               QStringLiteral("100.6")});
        QTRY_COMPARE(registry.playersOf(MediaApp::firefox).size(), 1);
        const QString name = prefix + firefox(22);
        follow(name);
        const auto lastTarget = [&browser] {
            const QStringList sets = browser->calls().filter(QStringLiteral("SetPosition"));
            return sets.isEmpty() ? -1 : sets.last().split(QLatin1Char(' ')).value(2).toLongLong();
        };
        // Each SetPosition goes out between the start and the end of its press.
        QElapsedTimer clock;
        clock.start();
        qint64 sentAfterNs = clock.nsecsElapsed();
        QCOMPARE(control.seekIfPlaying(MediaApp::firefox, 10, 3.0).result, SeekResult::seeked);
        qint64 sentBeforeNs = clock.nsecsElapsed();
        qint64 previous = lastTarget();
        // The first step starts from the reading of 100 s: from the middle of that second.
        QCOMPARE(previous, 110'500'000);
        for (const double step : {-5.0, 30.0, -10.0}) {
            QTest::qWait(300); // the announcement of the last step is taken in meanwhile
            const qint64 startNs = clock.nsecsElapsed();
            QCOMPARE(control.seekIfPlaying(MediaApp::firefox, step, 3.0).result,
                     SeekResult::seeked);
            const qint64 endNs = clock.nsecsElapsed();
            const qint64 target = lastTarget();
            const qint64 moved = previous + static_cast<qint64>(step * 1e6);
            QVERIFY2(target >= moved + (startNs - sentBeforeNs) / 1000 &&
                         target <= moved + (endNs - sentAfterNs) / 1000,
                     qPrintable(QStringLiteral("%1 after %2").arg(target).arg(previous)));
            previous = target;
            sentAfterNs = startNs;
            sentBeforeNs = endNs;
        }
        QCOMPARE(browser->calls().filter(QStringLiteral("GetAll")).size(), 1);
    }

    // Of two players of one app, the playing one is sought; of two that play, the one that
    // started playing last.
    void ofTwoOtherPlayersThePlayingOneIsSought() {
        MprisPlayerRegistry registry(PlayerBus::session());
        MprisPlayerControl control(registry);
        auto playing = player(QStringLiteral("mpv"), QString(),
                              {QStringLiteral("--position"), QStringLiteral("100")});
        auto paused = player(
            QStringLiteral("vlc"), QString(),
            {QStringLiteral("--paused"), QStringLiteral("--position"), QStringLiteral("100")});
        QTRY_COMPARE(registry.playersOf(MediaApp::otherPlayers).size(), 2);
        // The paused one came last, so it is tried first, and left alone.
        QCOMPARE(registry.playersOf(MediaApp::otherPlayers).constFirst(),
                 prefix + QStringLiteral("vlc"));
        QCOMPARE(control.seekIfPlaying(MediaApp::otherPlayers, 10, 3.0).result, SeekResult::seeked);
        QCOMPARE(playing->calls().filter(QStringLiteral("Seek 10000000")).size(), 1);
        QCOMPARE(paused->calls().filter(QStringLiteral("Seek")).size(), 0);

        follow(prefix + QStringLiteral("vlc"));
        command(prefix + QStringLiteral("vlc"), QStringLiteral("Play"));
        QVERIFY(heard(1));
        QCOMPARE(control.seekIfPlaying(MediaApp::otherPlayers, -10, 3.0).result,
                 SeekResult::seeked);
        QCOMPARE(paused->calls().filter(QStringLiteral("Seek -10000000")).size(), 1);
        QCOMPARE(playing->calls().filter(QStringLiteral("Seek -10000000")).size(), 0);
    }

    // Paused by the user right after our seek, in that moment: it is not moved.
    void aPauseRightAfterOurSeekIsHeeded() {
        MprisPlayerRegistry registry(PlayerBus::session());
        MprisPlayerControl control(registry);
        auto browser = player(chromium(14), QStringLiteral("chromium"),
                              {QStringLiteral("--position"), QStringLiteral("100"),
                               QStringLiteral("--flicker"), QStringLiteral("2000")});
        QTRY_COMPARE(registry.playersOf(MediaApp::chromiumYouTube).size(), 1);
        const QString name = prefix + chromium(14);
        follow(name);
        QCOMPARE(control.seekIfPlaying(MediaApp::chromiumYouTube, 10, 3.0).result,
                 SeekResult::seeked);
        QVERIFY(heard(1));
        command(name, QStringLiteral("Pause"));
        QVERIFY(heard(2));
        QCOMPARE(m_statuses, (QStringList{QStringLiteral("Stopped"), QStringLiteral("Paused")}));
        QVERIFY(!registry.states().canSeekRelatively(name, 10'000'000));
        QCOMPARE(control.seekIfPlaying(MediaApp::chromiumYouTube, 10, 3.0).result,
                 SeekResult::notPlaying);
        QCOMPARE(browser->calls().filter(QStringLiteral("Seek ")).size(), 0);
        QCOMPARE(browser->calls().filter(QStringLiteral("SetPosition")).size(), 1);
    }

    // A player that stops of itself, long after our last seek, has stopped: nothing is held.
    void aStopNotAfterOurSeekIsHeeded() {
        MprisPlayerRegistry registry(PlayerBus::session());
        MprisPlayerControl control(registry);
        auto browser = player(chromium(15), QStringLiteral("chromium"),
                              {QStringLiteral("--position"), QStringLiteral("100"),
                               QStringLiteral("--flicker"), QStringLiteral("50")});
        QTRY_COMPARE(registry.playersOf(MediaApp::chromiumYouTube).size(), 1);
        const QString name = prefix + chromium(15);
        QCOMPARE(control.seekIfPlaying(MediaApp::chromiumYouTube, 10, 3.0).result,
                 SeekResult::seeked);
        QTRY_VERIFY(registry.states().canSeekRelatively(name, 10'000'000));
        QTest::qWait(static_cast<int>(MprisPlayerStates::seekFlickerNs / 1'000'000) + 200);
        follow(name);
        command(name, QStringLiteral("Stop"));
        QVERIFY(heard(1));
        QCOMPARE(m_statuses, QStringList{QStringLiteral("Stopped")});
        QVERIFY(!registry.states().canSeekRelatively(name, 10'000'000));
        QCOMPARE(control.seekIfPlaying(MediaApp::chromiumYouTube, 10, 3.0).result,
                 SeekResult::notPlaying);
        QCOMPARE(browser->calls().filter(QStringLiteral("Seek ")).size(), 0);
        QCOMPARE(browser->calls().filter(QStringLiteral("SetPosition")).size(), 1);
    }

    // A moment that does not end in time is no longer held: the player is read and has stopped.
    void aLongStopAfterOurSeekIsHeeded() {
        MprisPlayerRegistry registry(PlayerBus::session());
        MprisPlayerControl control(registry);
        auto browser = player(chromium(16), QStringLiteral("chromium"),
                              {QStringLiteral("--position"), QStringLiteral("100"),
                               QStringLiteral("--flicker"), QStringLiteral("60000")});
        QTRY_COMPARE(registry.playersOf(MediaApp::chromiumYouTube).size(), 1);
        const QString name = prefix + chromium(16);
        follow(name);
        QCOMPARE(control.seekIfPlaying(MediaApp::chromiumYouTube, 10, 3.0).result,
                 SeekResult::seeked);
        QVERIFY(heard(1));
        QVERIFY(registry.states().canSeekRelatively(name, 10'000'000));
        QTRY_VERIFY_WITH_TIMEOUT(!registry.states().canSeekRelatively(name, 10'000'000), 5000);
        QCOMPARE(control.seekIfPlaying(MediaApp::chromiumYouTube, 10, 3.0).result,
                 SeekResult::notPlaying);
        QCOMPARE(browser->calls().filter(QStringLiteral("Seek ")).size(), 0);
        QCOMPARE(browser->calls().filter(QStringLiteral("GetAll")).size(), 2);
    }

    // A pause announced a moment before a press is heeded even while the registry, busy on
    // this thread, has not taken it in yet: the seek hears it on its own connection.
    void aPauseNotYetTakenInIsHeeded() {
        MprisPlayerRegistry registry(PlayerBus::session());
        MprisPlayerControl control(registry);
        auto browser = player(chromium(17), QStringLiteral("chromium"),
                              {QStringLiteral("--position"), QStringLiteral("100")});
        QTRY_COMPARE(registry.playersOf(MediaApp::chromiumYouTube).size(), 1);
        const QString name = prefix + chromium(17);
        QCOMPARE(control.seekIfPlaying(MediaApp::chromiumYouTube, 10, 3.0).result,
                 SeekResult::seeked);
        QTRY_VERIFY(registry.states().canSeekRelatively(name, 10'000'000));
        // No event is handled from here on, so the registry still believes it playing.
        command(name, QStringLiteral("Pause"));
        QThread::msleep(200);
        QVERIFY(registry.states().canSeekRelatively(name, 10'000'000));
        QCOMPARE(control.seekIfPlaying(MediaApp::chromiumYouTube, 10, 3.0).result,
                 SeekResult::notPlaying);
        QCOMPARE(browser->calls().filter(QStringLiteral("Seek ")).size(), 0);
        QCOMPARE(browser->calls().filter(QStringLiteral("SetPosition")).size(), 1);
    }

    // A pause the player announces is heeded: the next request reads and leaves it alone.
    void anAnnouncedPauseIsHeeded() {
        MprisPlayerRegistry registry(PlayerBus::session());
        MprisPlayerControl control(registry);
        auto browser = player(chromium(11), QStringLiteral("chromium"),
                              {QStringLiteral("--position"), QStringLiteral("100")});
        QTRY_COMPARE(registry.playersOf(MediaApp::chromiumYouTube).size(), 1);
        QCOMPARE(control.seekIfPlaying(MediaApp::chromiumYouTube, 10, 3.0).result,
                 SeekResult::seeked);
        const QString name = prefix + chromium(11);
        QTRY_VERIFY(registry.states().canSeekRelatively(name, 10'000'000));
        QCOMPARE(control.playPause(MediaApp::chromiumYouTube, 3.0), SeekResult::seeked);
        QTRY_VERIFY(!registry.states().canSeekRelatively(name, 10'000'000));
        QCOMPARE(control.seekIfPlaying(MediaApp::chromiumYouTube, 10, 3.0).result,
                 SeekResult::notPlaying);
        QCOMPARE(browser->calls().filter(QStringLiteral("Seek ")).size(), 0);
        QCOMPARE(browser->calls().filter(QStringLiteral("SetPosition")).size(), 1);
    }

    void nothingPlayingIsNotPlaying() {
        MprisPlayerRegistry registry(PlayerBus::session());
        MprisPlayerControl control(registry);
        QCOMPARE(control.seekIfPlaying(MediaApp::spotify, 10, 3.0).result, SeekResult::notPlaying);
        auto paused = player(QStringLiteral("spotify"), QString(), {QStringLiteral("--paused")});
        QTRY_COMPARE(registry.playersOf(MediaApp::spotify).size(), 1);
        QCOMPARE(control.seekIfPlaying(MediaApp::spotify, 10, 3.0).result, SeekResult::notPlaying);
        QCOMPARE(control.nowPlaying(MediaApp::spotify, 2.0), std::nullopt);
        QCOMPARE(control.seekIfPlaying(MediaApp::spotify, 10, 3.0).alert, std::nullopt);
    }

    void nowPlayingOfThePlayingPlayer() {
        MprisPlayerRegistry registry(PlayerBus::session());
        MprisPlayerControl control(registry);
        auto spotify = player(QStringLiteral("spotify"), QString(),
                              {QStringLiteral("--title"), QStringLiteral("Intro - Live"),
                               QStringLiteral("--artist"), QStringLiteral("Band")});
        QTRY_COMPARE(registry.playersOf(MediaApp::spotify).size(), 1);
        // The title whole, " - " and all, and the artist apart.
        QCOMPARE(control.nowPlaying(MediaApp::spotify, 2.0),
                 std::optional(NowPlaying{
                     QStringLiteral("Intro - Live"), {QStringLiteral("Band")}, MediaApp::spotify}));
    }

    void probes() {
        MprisPlayerRegistry registry(PlayerBus::session());
        MprisPlayerControl control(registry);
        const QList<PermissionItem>& items = PermissionItem::all();
        const PermissionItem& spotifyItem = items[0];
        const PermissionItem& chromeItem = items[2];
        const PermissionItem& browserJavaScript = items[3];
        // Without a player there is nothing to control, browser or not.
        QCOMPARE(control.probe(spotifyItem, 3.0), PermissionStatus::appNotRunning);
        QCOMPARE(control.probe(browserJavaScript, 3.0), PermissionStatus::appNotRunning);

        auto browser = player(chromium(8), QStringLiteral("chromium"));
        auto silent = player(QStringLiteral("spotify"), QString(), {QStringLiteral("--silent")});
        QTRY_COMPARE(registry.runningApps().size(), 2);
        QCOMPARE(control.probe(chromeItem, 3.0), PermissionStatus::granted);
        QCOMPARE(control.probe(browserJavaScript, 3.0), PermissionStatus::granted);
        // A player that does not answer in time cannot be controlled.
        QCOMPARE(control.probe(spotifyItem, 0.3), PermissionStatus::denied);
        // Music and Safari have no players here, so they are never running.
        QCOMPARE(control.probe(items[1], 3.0), PermissionStatus::appNotRunning);
        QCOMPARE(control.probe(items[4], 3.0), PermissionStatus::appNotRunning);
    }

    // A player of "Other players" is named by its own Identity in the feedback.
    void anOtherPlayerIsNamedByItsIdentity() {
        TempHome home;
        const std::unique_ptr<AppSettings> settings = linuxSettings(home);
        MprisPlayerRegistry registry(PlayerBus::session());
        auto vlc = player(QStringLiteral("vlc"), QString(),
                          {QStringLiteral("--identity"), QStringLiteral("VLC media player"),
                           QStringLiteral("--position"), QStringLiteral("100")});
        QTRY_COMPARE(registry.identityOf(prefix + QStringLiteral("vlc")),
                     QStringLiteral("VLC media player"));
        auto control = std::make_shared<MprisPlayerControl>(registry);
        MediaStatus status(control, *settings, [] { return QList<MediaApp>(); });
        MediaController controller(control, std::make_unique<MprisRunningApps>(registry), *settings,
                                   status, QString(), MediaApp::BrowserNaming::bySite);
        QSignalSpy finished(&controller, &MediaController::seekFinished);
        controller.enqueueSeek(10);
        QTRY_COMPARE(finished.size(), 1);
        QCOMPARE(status.seekFeedback()->app, MediaApp(MediaApp::otherPlayers));
        QCOMPARE(status.seekFeedback()->shownName(MediaApp::BrowserNaming::bySite),
                 QStringLiteral("VLC media player"));
        QCOMPARE(vlc->calls().filter(QStringLiteral("Seek 10000000")).size(), 1);
        // The panel's last player is named the same way.
        QCOMPARE(status.lastActiveApp(), std::optional<MediaApp>(MediaApp::otherPlayers));
        QCOMPARE(status.lastActivePlayerName(), QStringLiteral("VLC media player"));
        // Spotify is named by its app.
        QCOMPARE(control->seekIfPlaying(MediaApp::spotify, 10, 3.0).playerName, QString());
    }

    // What a player of "Other players" plays is shown with its own name too; Spotify's with
    // none, its app naming it.
    void whatAnOtherPlayerPlaysIsNamedByItsIdentity() {
        TempHome home;
        const std::unique_ptr<AppSettings> settings = linuxSettings(home);
        MprisPlayerRegistry registry(PlayerBus::session());
        auto vlc = player(QStringLiteral("vlc"), QString(),
                          {QStringLiteral("--identity"), QStringLiteral("VLC media player"),
                           QStringLiteral("--title"), QStringLiteral("Intro"),
                           QStringLiteral("--artist"), QStringLiteral("Band")});
        auto spotify = player(QStringLiteral("spotify"), QString(),
                              {QStringLiteral("--title"), QStringLiteral("Song"),
                               QStringLiteral("--identity"), QStringLiteral("Spotify Premium")});
        QTRY_COMPARE(registry.identityOf(prefix + QStringLiteral("vlc")),
                     QStringLiteral("VLC media player"));
        QTRY_COMPARE(registry.playersOf(MediaApp::spotify).size(), 1);
        auto control = std::make_shared<MprisPlayerControl>(registry);
        QCOMPARE(control->nowPlaying(MediaApp::otherPlayers, 2.0),
                 std::optional(NowPlaying{QStringLiteral("Intro"),
                                          {QStringLiteral("Band")},
                                          MediaApp::otherPlayers,
                                          QStringLiteral("VLC media player")}));
        QCOMPARE(control->nowPlaying(MediaApp::spotify, 2.0),
                 std::optional(NowPlaying{
                     QStringLiteral("Song"), {QStringLiteral("Band")}, MediaApp::spotify}));

        // Through the poll the panel runs while it is open.
        QList<MediaApp> candidates{MediaApp::otherPlayers};
        MediaStatus status(control, *settings, [&candidates] { return candidates; });
        QSignalSpy changed(&status, &MediaStatus::nowPlayingChanged);
        status.pollNowPlaying();
        QTRY_COMPARE(changed.size(), 1);
        QCOMPARE(status.nowPlaying(),
                 std::optional(NowPlaying{QStringLiteral("Intro"),
                                          {QStringLiteral("Band")},
                                          MediaApp::otherPlayers,
                                          QStringLiteral("VLC media player")}));
        QCOMPARE(status.nowPlaying()->shownName(MediaApp::BrowserNaming::bySite),
                 QStringLiteral("VLC media player"));
        candidates = {MediaApp::spotify};
        status.pollNowPlaying();
        QTRY_COMPARE(changed.size(), 2);
        QCOMPARE(status.nowPlaying()->playerName, QString());
        QCOMPARE(status.nowPlaying()->shownName(MediaApp::BrowserNaming::bySite),
                 QStringLiteral("Spotify"));
    }

    // The whole path: a request through the controller reaches the playing player.
    void aRequestReachesThePlayer() {
        TempHome home;
        AppSettings settings(std::make_unique<SettingsStore>(std::make_unique<QSettings>(
                                 home.path() + QStringLiteral("/s.conf"), QSettings::IniFormat)),
                             Platform::profile().mediaApps);
        MprisPlayerRegistry registry(PlayerBus::session());
        auto spotify = player(QStringLiteral("spotify"), QString(), {QStringLiteral("--spotify")});
        QTRY_COMPARE(registry.runningApps().size(), 1);
        auto control = std::make_shared<MprisPlayerControl>(registry);
        MediaStatus status(control, settings, [] { return QList<MediaApp>(); });
        MediaController controller(control, std::make_unique<MprisRunningApps>(registry), settings,
                                   status, QString(), MediaApp::BrowserNaming::bySite);
        QSignalSpy finished(&controller, &MediaController::seekFinished);
        controller.enqueueSeek(-10);
        QTRY_COMPARE(finished.size(), 1);
        QCOMPARE(status.seekFeedback()->app, MediaApp(MediaApp::spotify));
        QCOMPARE(status.seekFeedback()->kind, FeedbackKind::backward);
        QCOMPARE(spotify->calls().filter(QStringLiteral("SetPosition")).size(), 1);
    }

    // Without a session bus nothing is running, and a request says so.
    void withoutABus() {
        TempHome home;
        AppSettings settings(std::make_unique<SettingsStore>(std::make_unique<QSettings>(
                                 home.path() + QStringLiteral("/s.conf"), QSettings::IniFormat)),
                             Platform::profile().mediaApps);
        const QDBusConnection none = QDBusConnection::connectToBus(
            QStringLiteral("unix:path=/nonexistent/bus"), QStringLiteral("nowhere"));
        QVERIFY(!none.isConnected());
        QTest::ignoreMessage(QtCriticalMsg,
                             QRegularExpression(QStringLiteral(
                                 "^No D-Bus session bus, so no media player can be reached: ")));
        MprisPlayerRegistry registry(PlayerBus::through(none));
        auto control = std::make_shared<MprisPlayerControl>(registry);
        MediaStatus status(control, settings, [] { return QList<MediaApp>(); });
        MediaController controller(control, std::make_unique<MprisRunningApps>(registry), settings,
                                   status, QString(), MediaApp::BrowserNaming::bySite);
        QSignalSpy finished(&controller, &MediaController::seekFinished);
        controller.enqueueSeek(10);
        QTRY_COMPARE(finished.size(), 1);
        QCOMPARE(status.statusMessage(),
                 std::optional<QString>(QStringLiteral("No media apps running")));
    }
};

QTEST_GUILESS_MAIN(TestMprisPlayers)
#include "tst_mprisplayers.moc"
