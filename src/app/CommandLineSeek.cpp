#include "CommandLineSeek.h"

#include "core/MediaStatus.h"
#include "platform/Platform.h"
#include "settings/AppSettings.h"
#include "settings/SettingsStore.h"

#include <QCoreApplication>
#include <QEventLoop>
#include <QLoggingCategory>

namespace CommandLineSeek {

MediaController::Served run(double seconds) {
    // The timing line is for the long-running program's log, not for a terminal.
    QLoggingCategory::setFilterRules(QStringLiteral("com.scrubline.app.seek.info=false"));
    // The line names the player as the running program would.
    MediaApp::setBrowserNaming(Platform::browserNaming());
    // The apps this platform offers, as the tray program's settings have them: the reference
    // list alone has no other players and no Firefox.
    AppSettings settings(std::make_unique<SettingsStore>(Platform::openSettingsStore()),
                         Platform::mediaApps());
    const std::shared_ptr<PlayerControl> players = Platform::createPlayerControl();
    MediaController* controller = nullptr;
    MediaStatus status(players, settings,
                       [&controller] { return controller->runningActiveApps(); });
    std::unique_ptr<RunningApps> running = Platform::createRunningApps();
    // The players that run already are found without waiting on the bus: they are all known
    // before the one request is tried.
    if (!running->isSettled()) {
        QEventLoop settling;
        QObject::connect(running.get(), &RunningApps::settled, &settling, &QEventLoop::quit);
        settling.exec();
    }
    MediaController mediaController(
        players, std::move(running), settings, status,
        Platform::createDesktopIntegration()->texts().permissionDeniedStatus);
    controller = &mediaController;

    MediaController::Served served;
    QEventLoop loop;
    mediaController.enqueueAnsweredSeek(seconds,
                                        [&served, &loop](const MediaController::Served& told) {
                                            served = told;
                                            loop.quit();
                                        });
    // Served at once when no app is running at all; the loop is then not needed.
    if (served.line.isEmpty()) {
        loop.exec();
    }
    return served;
}

} // namespace CommandLineSeek
