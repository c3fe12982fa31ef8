#include "Launcher.h"

#include "CommandLineSeek.h"
#include "InstanceServer.h"
#include "ScrublineApp.h"
#include "commandline/CommandLineClient.h"
#include "platform/TerminationSignals.h"

#include <QApplication>

namespace {

void nameTheProgram() {
    QCoreApplication::setApplicationName(QStringLiteral("Scrubline"));
    QCoreApplication::setOrganizationDomain(QStringLiteral("scrubline.com"));
    QCoreApplication::setApplicationVersion(QStringLiteral(SCRUBLINE_VERSION));
}

// Nothing runs to ask: no window either, so a key binding works on any desktop.
int seekAlone(double seconds, int argc, char* argv[]) {
    QCoreApplication application(argc, argv);
    nameTheProgram();
    const MediaController::Served served = CommandLineSeek::run(seconds);
    return CommandLineClient::served({.acted = served.acted, .line = served.line.toStdString()})
        .print();
}

// The tray program, where no copy ran when it was asked to come forward.
int launch(SingleInstance& instance, bool openSettings, int argc, char* argv[]) {
    if (const QString problem = ScrublineApp::displayProblem(); !problem.isEmpty()) {
        return CommandLineClient::problem(problem.toStdString(), 1).print();
    }
    QApplication application(argc, argv);
    nameTheProgram();
    // A menu-bar utility: closing a window never ends it.
    QApplication::setQuitOnLastWindowClosed(false);

    // Served by an object of its own, which is gone before the application object.
    InstanceServer server(ScrublineApp::openSingleInstance());
    if (!server.claim()) {
        // Another copy started in the meantime.
        const SingleInstance::Command forward =
            openSettings ? SingleInstance::Command::showSettings : SingleInstance::Command::reopen;
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
    const CommandLine commandLine = CommandLine::parse(argc, argv);
    const std::unique_ptr<SingleInstance> instance = ScrublineApp::openSingleInstance();
    const auto reply = CommandLineClient::answer(
        commandLine, [&instance](RunningCopy::Command command, double seconds) {
            return instance->send(command, seconds);
        });
    if (reply) {
        return reply->print();
    }
    // What is left needs this program: no copy ran to take it.
    if (commandLine.command == CommandLine::Command::seek ||
        commandLine.command == CommandLine::Command::playPause) {
        return seekAlone(commandLine.seconds, argc, argv);
    }
    return launch(*instance, commandLine.command == CommandLine::Command::settings, argc, argv);
}

} // namespace Launcher
