// The trays a Linux desktop runs, as the program follows them: a StatusNotifierItem watcher
// on the private bus (the test's own) that counts only once a host registered with it, and an
// XEmbed tray (trayer) on the X display, each coming and going while the program runs.
#include "platform/linux/LinuxTrayAvailability.h"
#include "support/Desktop.h"
#include "support/StatusNotifierPanel.h"

#include <QApplication>
#include <QDBusConnection>
#include <QSignalSpy>
#include <QtTest>

namespace {

using State = TrayAvailability::State;

QList<State> changes(const QSignalSpy& spy) {
    QList<State> states;
    for (const QList<QVariant>& arguments : spy) {
        states << arguments.first().value<State>();
    }
    return states;
}

} // namespace

class TestTrayAvailability : public QObject {
    Q_OBJECT

private slots:
    void initTestCase() { QCOMPARE(QGuiApplication::platformName(), QStringLiteral("xcb")); }

    // The bus answers a moment later: until then nothing is said either way.
    void noTrayIsAbsentOnceTheBusAnswers() {
        LinuxTrayAvailability tray(QDBusConnection::sessionBus(), true);
        QSignalSpy spy(&tray, &TrayAvailability::stateChanged);
        QCOMPARE(tray.state(), State::unknown);
        QTRY_COMPARE_WITH_TIMEOUT(tray.state(), State::absent, 10000);
        QCOMPARE(changes(spy), QList<State>{State::absent});
    }

    void aWatcherCountsOnlyWithAHost() {
        LinuxTrayAvailability tray(QDBusConnection::sessionBus(), true);
        QTRY_COMPARE_WITH_TIMEOUT(tray.state(), State::absent, 10000);
        QSignalSpy spy(&tray, &TrayAvailability::stateChanged);
        FakeStatusNotifierWatcher watcher;
        QVERIFY(watcher.appear());
        auto host = std::make_unique<FakeStatusNotifierHost>();
        QVERIFY(host->registerWithWatcher());
        QTRY_COMPARE_WITH_TIMEOUT(tray.state(), State::present, 10000);
        QCOMPARE(changes(spy), QList<State>{State::present});

        // The panel quits its host: the watcher says so, and nothing shows items any more.
        host.reset();
        QTRY_COMPARE_WITH_TIMEOUT(tray.state(), State::absent, 10000);
        host = std::make_unique<FakeStatusNotifierHost>();
        QVERIFY(host->registerWithWatcher());
        QTRY_COMPARE_WITH_TIMEOUT(tray.state(), State::present, 10000);

        // The whole panel quits.
        watcher.disappear();
        QTRY_COMPARE_WITH_TIMEOUT(tray.state(), State::absent, 10000);
        QCOMPARE(changes(spy),
                 (QList<State>{State::present, State::absent, State::present, State::absent}));
    }

    void aPanelRunningAtStartIsPresentAfterTheFirstAnswer() {
        StatusNotifierPanel panel;
        QVERIFY(panel.start());
        LinuxTrayAvailability tray(QDBusConnection::sessionBus(), true);
        QSignalSpy spy(&tray, &TrayAvailability::stateChanged);
        QTRY_COMPARE_WITH_TIMEOUT(tray.state(), State::present, 10000);
        QCOMPARE(changes(spy), QList<State>{State::present});
    }

    // An XEmbed tray is known at once, without waiting for the bus; one that ends or starts
    // while the program runs is followed.
    void anXEmbedTrayComesAndGoes() {
        auto trayer = std::make_unique<TrayHost>();
        QVERIFY(trayer->start());
        LinuxTrayAvailability tray(QDBusConnection::sessionBus(), true);
        QCOMPARE(tray.state(), State::present);
        QSignalSpy spy(&tray, &TrayAvailability::stateChanged);

        trayer.reset();
        QTRY_COMPARE_WITH_TIMEOUT(tray.state(), State::absent, 10000);
        trayer = std::make_unique<TrayHost>();
        QVERIFY(trayer->start());
        QTRY_COMPARE_WITH_TIMEOUT(tray.state(), State::present, 10000);
        QCOMPARE(changes(spy), (QList<State>{State::absent, State::present}));
    }

    // A program on Wayland cannot dock into an X11 tray, even with XWayland's display in reach.
    void withoutX11OnlyTheBusCounts() {
        TrayHost trayer;
        QVERIFY(trayer.start());
        LinuxTrayAvailability tray(QDBusConnection::sessionBus(), false);
        QCOMPARE(tray.state(), State::unknown);
        QTRY_COMPARE_WITH_TIMEOUT(tray.state(), State::absent, 10000);
    }
};

QTEST_MAIN(TestTrayAvailability)
#include "tst_trayavailability.moc"
