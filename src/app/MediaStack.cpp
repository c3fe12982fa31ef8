#include "MediaStack.h"

#include "core/MediaController.h"
#include "core/MediaStatus.h"
#include "platform/DesktopIntegration.h"
#include "platform/Platform.h"
#include "platform/RunningApps.h"
#include "settings/AppSettings.h"
#include "settings/SettingsStore.h"

#include <QEventLoop>

MediaStack::MediaStack() = default;
MediaStack::MediaStack(MediaStack&&) noexcept = default;
MediaStack& MediaStack::operator=(MediaStack&&) noexcept = default;
MediaStack::~MediaStack() = default;

namespace {

MediaStack make(std::unique_ptr<LoginItem> loginItem, const PlatformTexts& texts,
                bool waitForRunningApps) {
    MediaStack stack;
    stack.profile = Platform::profile();
    // Loaded now rather than on first use, so that a damaged file is reported at start. The
    // apps this platform offers, never the reference list: it has no other players here.
    stack.settings = std::make_unique<AppSettings>(
        std::make_unique<SettingsStore>(Platform::openSettingsStore()), stack.profile.mediaApps,
        std::move(loginItem));
    stack.players = Platform::createPlayerControl();
    stack.status = std::make_unique<MediaStatus>(stack.players, *stack.settings);
    std::unique_ptr<RunningApps> running = Platform::createRunningApps();
    if (waitForRunningApps && !running->isSettled()) {
        QEventLoop settling;
        QObject::connect(running.get(), &RunningApps::settled, &settling, &QEventLoop::quit);
        settling.exec();
    }
    stack.controller = std::make_unique<MediaController>(
        stack.players, std::move(running), *stack.settings, *stack.status,
        texts.permissionDeniedStatus, stack.profile.browserNaming);
    return stack;
}

} // namespace

MediaStack MediaStack::build(std::unique_ptr<LoginItem> loginItem, const PlatformTexts& texts) {
    return make(std::move(loginItem), texts, false);
}

MediaStack MediaStack::buildForOneRequest() {
    const std::unique_ptr<DesktopIntegration> desktop = Platform::createDesktopIntegration();
    return make(nullptr, desktop->texts(), true);
}
