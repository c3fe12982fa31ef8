#include "app/CommandLine.h"

#include <QtTest>

using Command = CommandLine::Command;

class TestCommandLine : public QObject {
    Q_OBJECT

private slots:
    void readsEachCommand_data() {
        QTest::addColumn<QStringList>("arguments");
        QTest::addColumn<Command>("command");
        QTest::addColumn<double>("seconds");
        QTest::newRow("nothing") << QStringList{} << Command::launch << 0.0;
        QTest::newRow("seek +10") << QStringList{"seek", "+10"} << Command::seek << 10.0;
        QTest::newRow("seek -5.5") << QStringList{"seek", "-5.5"} << Command::seek << -5.5;
        QTest::newRow("seek 30") << QStringList{"seek", "30"} << Command::seek << 30.0;
        QTest::newRow("play-pause") << QStringList{"play-pause"} << Command::playPause << 0.0;
        QTest::newRow("settings") << QStringList{"settings"} << Command::settings << 0.0;
        QTest::newRow("quit") << QStringList{"quit"} << Command::quit << 0.0;
        QTest::newRow("--version") << QStringList{"--version"} << Command::version << 0.0;
        QTest::newRow("--help") << QStringList{"--help"} << Command::help << 0.0;
        QTest::newRow("-h") << QStringList{"-h"} << Command::help << 0.0;
        QTest::newRow("a Finder's serial number")
            << QStringList{"-psn_0_12345"} << Command::launch << 0.0;
    }

    void readsEachCommand() {
        QFETCH(QStringList, arguments);
        QFETCH(Command, command);
        QFETCH(double, seconds);
        const CommandLine read = CommandLine::parse(arguments);
        QCOMPARE(read.command, command);
        QCOMPARE(read.seconds, seconds);
        QVERIFY(read.problem.isEmpty());
    }

    void refusesWhatItDoesNotKnowInOneLine_data() {
        QTest::addColumn<QStringList>("arguments");
        QTest::addColumn<QString>("named");
        QTest::newRow("unknown") << QStringList{"rewind"} << "unknown command \"rewind\"";
        QTest::newRow("seek alone") << QStringList{"seek"} << "\"seek\" takes one number";
        QTest::newRow("seek twice") << QStringList{"seek", "1", "2"} << "\"seek\" takes one number";
        QTest::newRow("seek words") << QStringList{"seek", "ten"} << "\"ten\" is not a number";
        QTest::newRow("seek 0") << QStringList{"seek", "0"} << "\"0\" is not a number";
        QTest::newRow("seek inf") << QStringList{"seek", "inf"} << "\"inf\" is not a number";
        QTest::newRow("seek nan") << QStringList{"seek", "nan"} << "\"nan\" is not a number";
        QTest::newRow("quit now") << QStringList{"quit", "now"} << "\"quit\" takes no arguments";
        QTest::newRow("play-pause 1")
            << QStringList{"play-pause", "1"} << "\"play-pause\" takes no arguments";
    }

    void refusesWhatItDoesNotKnowInOneLine() {
        QFETCH(QStringList, arguments);
        QFETCH(QString, named);
        const CommandLine read = CommandLine::parse(arguments);
        QCOMPARE(read.command, Command::invalid);
        QVERIFY2(read.problem.contains(named), qPrintable(read.problem));
        QVERIFY(!read.problem.contains(QLatin1Char('\n')));
    }

    void theHelpNamesEveryCommand() {
        const QString help = CommandLine::helpText();
        for (const char* name : {"seek", "play-pause", "settings", "quit", "--version", "--help"}) {
            QVERIFY2(help.contains(QLatin1String(name)), name);
        }
    }
};

QTEST_APPLESS_MAIN(TestCommandLine)
#include "tst_commandline.moc"
