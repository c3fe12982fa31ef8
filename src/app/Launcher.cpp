#include "Launcher.h"

#include "CommandLine.h"
#include "CommandLineSeek.h"
#include "InstanceServer.h"
#include "ScrublineApp.h"
#include "platform/Platform.h"
#include "platform/TerminationSignals.h"

#include <QApplication>

#include <cstdio>

namespace {

void printLine(std::FILE* stream, const QString& line) {
    std::fprintf(stream, "%s\n", qPrintable(line));
}

void nameTheProgram() {
    QCoreApplication::setApplicationName(QStringLiteral("Scrubline"));
    QCoreApplication::setOrganizationDomain(QStringLiteral("scrubline.com"));
    QCoreApplication::setApplicationVersion(QStringLiteral(SCRUBLINE_VERSION));
}

int seek(SingleInstance& instance, double seconds, int argc, char* argv[]) {
    std::optional<SingleInstance::Answer> answer =
        instance.send(SingleInstance::Command::seek, seconds);
    if (!answer) {
        // Nothing runs to ask: no window either, so a key binding works on any desktop.
        QCoreApplication application(argc, argv);
        nameTheProgram();
        const MediaController::Served served = CommandLineSeek::run(seconds);
        answer = SingleInstance::Answer{.acted = served.acted, .line = served.line};
    }
    printLine(stdout, answer->line);
    return answer->acted ? 0 : 1;
}

// The tray program, unless another copy runs already: that one is asked to come forward.
int launch(SingleInstance& instance, bool openSettings, int argc, char* argv[]) {
    const SingleInstance::Command forward =
        openSettings ? SingleInstance::Command::showSettings : SingleInstance::Command::reopen;
    if (instance.send(forward)) {
        return 0;
    }
    if (const QString problem = Platform::displayProblem(); !problem.isEmpty()) {
        printLine(stderr, QStringLiteral("scrubline: ") + problem);
        return 1;
    }
    QApplication application(argc, argv);
    nameTheProgram();
    // A menu-bar utility: closing a window never ends it.
    QApplication::setQuitOnLastWindowClosed(false);

    // Served by an object of its own, which is gone before the application object.
    InstanceServer server;
    if (!server.claim()) {
        // Another copy started in the meantime.
        return instance.send(forward) ? 0 : 1;
    }
    // Ended from outside the way "Quit" ends it.
    TerminationSignals::install([] { QCoreApplication::quit(); });

    ScrublineApp app;
    server.serve(&app);
    if (openSettings) {
        app.showSettings();
    }
    return QApplication::exec();
}

} // namespace

namespace Launcher {

int run(int argc, char* argv[]) {
    QStringList arguments;
    for (int i = 1; i < argc; ++i) {
        arguments << QString::fromLocal8Bit(argv[i]);
    }
    const CommandLine commandLine = CommandLine::parse(arguments);
    const std::unique_ptr<SingleInstance> instance = Platform::createSingleInstance();
    switch (commandLine.command) {
    case CommandLine::Command::help:
        std::fputs(qPrintable(CommandLine::helpText()), stdout);
        return 0;
    case CommandLine::Command::version:
        printLine(stdout, QStringLiteral("Scrubline " SCRUBLINE_VERSION));
        return 0;
    case CommandLine::Command::invalid:
        printLine(stderr, QStringLiteral("scrubline: ") + commandLine.problem);
        return 2;
    case CommandLine::Command::quit:
        if (instance->send(SingleInstance::Command::quit)) {
            return 0;
        }
        printLine(stderr, QStringLiteral("scrubline: Scrubline is not running"));
        return 1;
    case CommandLine::Command::seek:
    case CommandLine::Command::playPause:
        return seek(*instance, commandLine.seconds, argc, argv);
    case CommandLine::Command::settings:
    case CommandLine::Command::launch:
        break;
    }
    return launch(*instance, commandLine.command == CommandLine::Command::settings, argc, argv);
}

} // namespace Launcher
