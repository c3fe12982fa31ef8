#include "PermissionItem.h"

QList<PermissionItem> PermissionItem::forApps(const QList<MediaApp>& apps, const QString& title,
                                              MediaApp::BrowserNaming naming) {
    QList<PermissionItem> items;
    for (const MediaApp app : apps) {
        items.append({QStringLiteral("automation-") + app.rawValue(), title,
                      app.displayName(naming), app.processName(), app.symbolName(),
                      Kind::automation, app});
    }
    return items;
}

const QList<PermissionItem>& PermissionItem::all() {
    // Accessibility is not probed: it is read from the platform directly.
    static const QList<PermissionItem> items = {
        {QStringLiteral("automation-spotify"), QStringLiteral("Automation"),
         QStringLiteral("Spotify"), QStringLiteral("Spotify"), QStringLiteral("music.note"),
         Kind::automation, MediaApp::spotify},
        {QStringLiteral("automation-music"), QStringLiteral("Automation"),
         QStringLiteral("Apple Music"), QStringLiteral("Music"),
         QStringLiteral("music.quarternote.3"), Kind::automation, MediaApp::appleMusic},
        {QStringLiteral("automation-chrome"), QStringLiteral("Automation"),
         QStringLiteral("Google Chrome"), QStringLiteral("Google Chrome"), QStringLiteral("globe"),
         Kind::automation, MediaApp::chromiumYouTube},
        {QStringLiteral("chrome-js"), QStringLiteral("JavaScript from Apple Events"),
         QStringLiteral("Google Chrome"), QStringLiteral("Google Chrome"),
         QStringLiteral("curlybraces"), Kind::browserJavaScript, MediaApp::chromiumYouTube},
        {QStringLiteral("automation-safari"), QStringLiteral("Automation"),
         QStringLiteral("Safari"), QStringLiteral("Safari"), QStringLiteral("safari"),
         Kind::automation, MediaApp::safariYouTube},
    };
    return items;
}
