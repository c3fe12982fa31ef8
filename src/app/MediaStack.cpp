#include "MediaStack.h"

#include "core/MediaController.h"
#include "core/MediaStatus.h"
#include "platform/Platform.h"
#include "settings/AppSettings.h"
#include "settings/SettingsStore.h"

MediaStack::MediaStack() = default;
MediaStack::MediaStack(MediaStack&&) noexcept = default;
MediaStack& MediaStack::operator=(MediaStack&&) noexcept = default;
MediaStack::~MediaStack() = default;

MediaStack MediaStack::build(std::unique_ptr<LoginItem> loginItem) {
    MediaStack stack;
    stack.profile = Platform::profile();
    // Loaded now rather than on first use, so that a damaged file is reported at start. The
    // apps this platform offers, never the reference list: it has no other players here.
    stack.settings = std::make_unique<AppSettings>(
        std::make_unique<SettingsStore>(Platform::openSettingsStore()), stack.profile.mediaApps,
        std::move(loginItem));
    stack.players = Platform::createPlayerControl();
    stack.status = std::make_unique<MediaStatus>(stack.players, *stack.settings);
    stack.controller = std::make_unique<MediaController>(
        stack.players, Platform::createRunningApps(), *stack.settings, *stack.status);
    return stack;
}
