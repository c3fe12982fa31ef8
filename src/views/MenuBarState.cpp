#include "MenuBarState.h"

#include "core/MediaStatus.h"

MenuBarState menuBarState(const std::optional<SeekFeedback>& feedback,
                          const std::optional<QString>& statusMessage,
                          const std::optional<NowPlaying>& nowPlaying,
                          const std::optional<MediaApp>& lastActiveApp) {
    if (feedback) {
        return MenuBarState::feedback;
    }
    if (statusMessage) {
        return MenuBarState::status;
    }
    if (nowPlaying) {
        return MenuBarState::nowPlaying;
    }
    return lastActiveApp ? MenuBarState::lastApp : MenuBarState::noMedia;
}

MenuBarState menuBarState(const MediaStatus& status) {
    return menuBarState(status.seekFeedback(), status.statusMessage(), status.nowPlaying(),
                        status.lastActiveApp());
}

QString menuBarStateName(MenuBarState state) {
    switch (state) {
    case MenuBarState::feedback:
        return QStringLiteral("feedback");
    case MenuBarState::status:
        return QStringLiteral("status");
    case MenuBarState::nowPlaying:
        return QStringLiteral("nowPlaying");
    case MenuBarState::noMedia:
        return QStringLiteral("noMedia");
    case MenuBarState::lastApp:
        return QStringLiteral("lastApp");
    }
    Q_UNREACHABLE();
}
