#include "commandline/CommandLine.h"
#include "commandline/CommandLineClient.h"

#include <QtTest>

#include <string>
#include <vector>

using Command = CommandLine::Command;

namespace {

std::vector<std::string> toStd(const QStringList& arguments) {
    std::vector<std::string> converted;
    for (const QString& argument : arguments) {
        converted.push_back(argument.toStdString());
    }
    return converted;
}

// A running copy of the test's: records what it is asked and answers as told, or not at all.
struct ScriptedCopy {
    std::optional<RunningCopy::Answer> answer;
    QStringList asked;

    RunningCopy::Send send() {
        return [this](RunningCopy::Command command, double seconds) {
            static const char* names[] = {"reopen", "seek", "showSettings", "quit"};
            asked << QStringLiteral("%1 %2").arg(QLatin1String(names[int(command)])).arg(seconds);
            return answer;
        };
    }
};

} // namespace

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
        QTest::newRow("seek .5") << QStringList{"seek", ".5"} << Command::seek << 0.5;
        QTest::newRow("seek +.5") << QStringList{"seek", "+.5"} << Command::seek << 0.5;
        QTest::newRow("seek 1e1") << QStringList{"seek", "1e1"} << Command::seek << 10.0;
        QTest::newRow("seek with spaces") << QStringList{"seek", " 10\t"} << Command::seek << 10.0;
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
        const CommandLine read = CommandLine::parse(toStd(arguments));
        QCOMPARE(read.command, command);
        QCOMPARE(read.seconds, seconds);
        QVERIFY(read.problem.empty());
    }

    void refusesWhatItDoesNotKnowInOneLine_data() {
        QTest::addColumn<QStringList>("arguments");
        QTest::addColumn<QString>("named");
        QTest::newRow("unknown") << QStringList{"rewind"} << "unknown command \"rewind\"";
        QTest::newRow("seek alone") << QStringList{"seek"} << "\"seek\" takes one number";
        QTest::newRow("seek twice") << QStringList{"seek", "1", "2"} << "\"seek\" takes one number";
        QTest::newRow("seek words") << QStringList{"seek", "ten"} << "\"ten\" is not a number";
        QTest::newRow("seek 0") << QStringList{"seek", "0"} << "\"0\" is not a number";
        QTest::newRow("seek -0") << QStringList{"seek", "-0"} << "\"-0\" is not a number";
        QTest::newRow("seek inf") << QStringList{"seek", "inf"} << "\"inf\" is not a number";
        QTest::newRow("seek nan") << QStringList{"seek", "nan"} << "\"nan\" is not a number";
        QTest::newRow("seek too large") << QStringList{"seek", "1e400"} << "\"1e400\" is not";
        QTest::newRow("seek +-5") << QStringList{"seek", "+-5"} << "\"+-5\" is not a number";
        QTest::newRow("seek ++5") << QStringList{"seek", "++5"} << "\"++5\" is not a number";
        QTest::newRow("seek hex") << QStringList{"seek", "0x10"} << "\"0x10\" is not a number";
        QTest::newRow("seek comma") << QStringList{"seek", "1,5"} << "\"1,5\" is not a number";
        QTest::newRow("seek 10s") << QStringList{"seek", "10s"} << "\"10s\" is not a number";
        QTest::newRow("seek empty") << QStringList{"seek", ""} << "\"\" is not a number";
        QTest::newRow("seek +") << QStringList{"seek", "+"} << "\"+\" is not a number";
        QTest::newRow("quit now") << QStringList{"quit", "now"} << "\"quit\" takes no arguments";
        QTest::newRow("play-pause 1")
            << QStringList{"play-pause", "1"} << "\"play-pause\" takes no arguments";
    }

    void refusesWhatItDoesNotKnowInOneLine() {
        QFETCH(QStringList, arguments);
        QFETCH(QString, named);
        const CommandLine read = CommandLine::parse(toStd(arguments));
        QCOMPARE(read.command, Command::invalid);
        const QString problem = QString::fromStdString(read.problem);
        QVERIFY2(problem.contains(named), qPrintable(problem));
        QVERIFY(!problem.contains(QLatin1Char('\n')));
    }

    void readsArgvAfterTheProgramsName() {
        char name[] = "scrubline";
        char seek[] = "seek";
        char step[] = "-2.5";
        char* argv[] = {name, seek, step, nullptr};
        const CommandLine read = CommandLine::parse(3, argv);
        QCOMPARE(read.command, Command::seek);
        QCOMPARE(read.seconds, -2.5);
        QCOMPARE(CommandLine::parse(1, argv).command, Command::launch);
    }

    void theHelpNamesEveryCommand() {
        const QString help = QString::fromStdString(CommandLine::helpText());
        for (const char* name : {"seek", "play-pause", "settings", "quit", "--version", "--help"}) {
            QVERIFY2(help.contains(QLatin1String(name)), name);
        }
        QVERIFY(help.startsWith(QStringLiteral("Usage: scrubline [command]\n")));
    }

    // What needs nobody to ask is answered without asking.
    void helpVersionAndUsageErrorsAskNobody() {
        ScriptedCopy copy;
        copy.answer = RunningCopy::Answer{.acted = true, .line = "unused"};
        auto reply = CommandLineClient::answer(CommandLine::parse(toStd({"--help"})), copy.send());
        QVERIFY(reply);
        QCOMPARE(reply->status, 0);
        QCOMPARE(reply->out, CommandLine::helpText());
        QVERIFY(reply->err.empty());

        reply = CommandLineClient::answer(CommandLine::parse(toStd({"--version"})), copy.send());
        QVERIFY(reply);
        QCOMPARE(reply->status, 0);
        QCOMPARE(QString::fromStdString(reply->out),
                 QStringLiteral("Scrubline %1\n").arg(QLatin1String(SCRUBLINE_VERSION)));

        reply = CommandLineClient::answer(CommandLine::parse(toStd({"seek", "ten"})), copy.send());
        QVERIFY(reply);
        QCOMPARE(reply->status, 2);
        QVERIFY(reply->out.empty());
        QCOMPARE(reply->err, "scrubline: \"ten\" is not a number of seconds other than 0, such as "
                             "+10 or -5.5\n");
        QVERIFY(copy.asked.isEmpty());
    }

    void eachCommandIsHandedToTheRunningCopy_data() {
        QTest::addColumn<QStringList>("arguments");
        QTest::addColumn<QString>("asked");
        QTest::newRow("launch") << QStringList{} << "reopen 0";
        QTest::newRow("settings") << QStringList{"settings"} << "showSettings 0";
        QTest::newRow("quit") << QStringList{"quit"} << "quit 0";
        QTest::newRow("seek") << QStringList{"seek", "-5.5"} << "seek -5.5";
        QTest::newRow("play-pause") << QStringList{"play-pause"} << "seek 0";
    }

    void eachCommandIsHandedToTheRunningCopy() {
        QFETCH(QStringList, arguments);
        QFETCH(QString, asked);
        ScriptedCopy copy;
        copy.answer = RunningCopy::Answer{.acted = true, .line = "Spotify: -5.5s"};
        const auto reply =
            CommandLineClient::answer(CommandLine::parse(toStd(arguments)), copy.send());
        QCOMPARE(copy.asked, QStringList{asked});
        QVERIFY(reply);
        QCOMPARE(reply->status, 0);
        QVERIFY(reply->err.empty());
        // Only a seek says what it did.
        QCOMPARE(reply->out, asked.startsWith(QLatin1String("seek")) ? "Spotify: -5.5s\n" : "");
    }

    void aSeekThatActedOnNothingExitsWithOne() {
        ScriptedCopy copy;
        copy.answer = RunningCopy::Answer{.acted = false, .line = "Nothing is playing"};
        const auto reply =
            CommandLineClient::answer(CommandLine::parse(toStd({"seek", "+10"})), copy.send());
        QVERIFY(reply);
        QCOMPARE(reply->status, 1);
        QCOMPARE(reply->out, "Nothing is playing\n");
        QVERIFY(reply->err.empty());
    }

    // With no copy to ask, a seek and a launch are this process's to do; quitting is not.
    void withoutARunningCopy() {
        ScriptedCopy copy;
        for (const QStringList& arguments :
             {QStringList{}, QStringList{"settings"}, QStringList{"seek", "+10"},
              QStringList{"play-pause"}}) {
            QVERIFY2(!CommandLineClient::answer(CommandLine::parse(toStd(arguments)), copy.send()),
                     qPrintable(arguments.join(u' ')));
        }
        const auto reply =
            CommandLineClient::answer(CommandLine::parse(toStd({"quit"})), copy.send());
        QVERIFY(reply);
        QCOMPARE(reply->status, 1);
        QVERIFY(reply->out.empty());
        QCOMPARE(reply->err, "scrubline: Scrubline is not running\n");
        QCOMPARE(copy.asked.size(), 5);
    }
};

QTEST_APPLESS_MAIN(TestCommandLine)
#include "tst_commandline.moc"
