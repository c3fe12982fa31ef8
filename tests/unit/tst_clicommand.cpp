// The `scrubline` command itself: what it answers with no program and no session, and that it
// loads no toolkit doing so, so that a command from a key binding stays quick.
#include "support/LinkerTrace.h"

#include <QProcess>
#include <QtTest>

namespace {

const QString command = QStringLiteral(SCRUBLINE_BINARY);

struct Run {
    int exitCode = -1;
    QByteArray out;
    QByteArray err;
};

// The command with no display and no session bus; `libraries` collects what the dynamic linker
// loaded.
Run runAlone(const QStringList& arguments, QStringList* libraries = nullptr) {
    QProcess process;
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.remove(QStringLiteral("DISPLAY"));
    environment.remove(QStringLiteral("WAYLAND_DISPLAY"));
    environment.remove(QStringLiteral("QT_QPA_PLATFORM"));
    environment.insert(QStringLiteral("DBUS_SESSION_BUS_ADDRESS"),
                       QStringLiteral("unix:path=/nonexistent/bus"));
    if (libraries) {
        LinkerTrace::enable(environment);
    }
    process.setProcessEnvironment(environment);
    process.start(command, arguments);
    Run run;
    if (!process.waitForFinished(20000) || process.exitStatus() != QProcess::NormalExit) {
        return run;
    }
    run.exitCode = process.exitCode();
    run.out = process.readAllStandardOutput();
    run.err = process.readAllStandardError();
    const QStringList loaded = LinkerTrace::takeLibraries(run.err);
    if (libraries) {
        *libraries = loaded;
    }
    return run;
}

} // namespace

class TestCliCommand : public QObject {
    Q_OBJECT

private slots:
    // Its dynamic section, transitively: the C++ library and libdbus, nothing of Qt.
    void linksNoQt() {
        QProcess ldd;
        ldd.start(QStringLiteral("ldd"), {command});
        QVERIFY(ldd.waitForFinished(20000));
        QCOMPARE(ldd.exitCode(), 0);
        const QString linked = QString::fromLocal8Bit(ldd.readAllStandardOutput());
        QVERIFY2(linked.contains(QStringLiteral("libdbus-1.so")), qPrintable(linked));
        QVERIFY2(!linked.contains(QStringLiteral("libQt")), qPrintable(linked));
    }

    void answersAloneAndLoadsNoQt_data() {
        QTest::addColumn<QStringList>("arguments");
        QTest::addColumn<int>("exitCode");
        QTest::addColumn<QByteArray>("out");
        QTest::addColumn<QByteArray>("err");
        QTest::newRow("--version")
            << QStringList{"--version"} << 0 << QByteArray("Scrubline " SCRUBLINE_VERSION "\n")
            << QByteArray();
        QTest::newRow("bad argument")
            << QStringList{"seek", "ten"} << 2 << QByteArray()
            << QByteArray("scrubline: \"ten\" is not a number of seconds other than 0, such as "
                          "+10 or -5.5\n");
        QTest::newRow("unknown command")
            << QStringList{"fast-forward"} << 2 << QByteArray()
            << QByteArray("scrubline: unknown command \"fast-forward\" (try --help)\n");
        QTest::newRow("quit, with nothing running")
            << QStringList{"quit"} << 1 << QByteArray()
            << QByteArray("scrubline: Scrubline is not running\n");
    }

    void answersAloneAndLoadsNoQt() {
        QFETCH(QStringList, arguments);
        QFETCH(int, exitCode);
        QFETCH(QByteArray, out);
        QFETCH(QByteArray, err);
        QStringList libraries;
        const Run run = runAlone(arguments, &libraries);
        QCOMPARE(run.exitCode, exitCode);
        QCOMPARE(run.out, out);
        QCOMPARE(run.err, err);
        // The linker did say what it loaded, and none of it is Qt.
        QVERIFY2(!libraries.filter(QStringLiteral("libdbus-1.so")).isEmpty(),
                 qPrintable(libraries.join(u' ')));
        QVERIFY2(libraries.filter(QStringLiteral("libQt")).isEmpty(),
                 qPrintable(libraries.join(u' ')));
    }

    void helpIsTheWholeText() {
        QStringList libraries;
        const Run run = runAlone({QStringLiteral("--help")}, &libraries);
        QCOMPARE(run.exitCode, 0);
        QVERIFY(run.out.startsWith("Usage: scrubline [command]\n"));
        QVERIFY(run.out.contains("  play-pause     play or pause what is playing\n"));
        QVERIFY(run.out.endsWith("2 on a usage error.\n"));
        QVERIFY(run.err.isEmpty());
        QVERIFY(libraries.filter(QStringLiteral("libQt")).isEmpty());
    }

    // Where it must start the program, the program says what stands in the way, as before.
    void theProgramItStartsSaysWhatIsMissing() {
        QStringList libraries;
        const Run run = runAlone({}, &libraries);
        QCOMPARE(run.exitCode, 1);
        QVERIFY(run.out.isEmpty());
        QVERIFY2(run.err.startsWith("scrubline: no display: DISPLAY is not set"), run.err.data());
        QCOMPARE(run.err.count('\n'), 1);
        QVERIFY(!libraries.filter(QStringLiteral("libQt6Core")).isEmpty());
    }
};

QTEST_GUILESS_MAIN(TestCliCommand)
#include "tst_clicommand.moc"
