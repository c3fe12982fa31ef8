#include "views/tray/TrayState.h"

#include "core/MediaStatus.h"

TrayState trayState(const std::optional<SeekFeedback>& feedback,
                    const std::optional<QString>& statusMessage,
                    const std::optional<NowPlaying>& nowPlaying,
                    const std::optional<MediaApp>& lastActiveApp) {
    if (feedback) {
        return TrayState::feedback;
    }
    if (statusMessage) {
        return TrayState::status;
    }
    if (nowPlaying) {
        return TrayState::nowPlaying;
    }
    return lastActiveApp ? TrayState::lastApp : TrayState::noMedia;
}

TrayState trayState(const MediaStatus& status) {
    return trayState(status.seekFeedback(), status.statusMessage(), status.nowPlaying(),
                     status.lastActiveApp());
}

QString trayStateName(TrayState state) {
    switch (state) {
    case TrayState::feedback:
        return QStringLiteral("feedback");
    case TrayState::status:
        return QStringLiteral("status");
    case TrayState::nowPlaying:
        return QStringLiteral("nowPlaying");
    case TrayState::noMedia:
        return QStringLiteral("noMedia");
    case TrayState::lastApp:
        return QStringLiteral("lastApp");
    }
    Q_UNREACHABLE();
}
