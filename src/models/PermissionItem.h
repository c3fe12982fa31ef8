#pragma once

#include "MediaApp.h"

#include <QList>
#include <QString>

#include <optional>

// What is known of one permission.
enum class PermissionStatus { unknown, granted, denied, appNotRunning, checking };

// One permission a media target needs, as the Permissions tab lists it.
struct PermissionItem {
    enum class Kind { automation, browserJavaScript, accessibility };

    QString id;
    QString name;        // the permission's title
    QString targetApp;   // the application as the user knows it
    QString processName; // the running application's name, also the one the probe addresses
    QString systemImage;
    Kind kind = Kind::automation;
    // The media app the permission is about; none for one about the keyboard.
    std::optional<MediaApp> app{};

    // The permissions that are probed, in the order they are shown and probed.
    static const QList<PermissionItem>& all();
    // One permission of the same title for each app, in the apps' order: where every player
    // is reached the same way, there is one thing to know of each.
    static QList<PermissionItem> forApps(const QList<MediaApp>& apps, const QString& title,
                                         MediaApp::BrowserNaming naming);

    friend bool operator==(const PermissionItem&, const PermissionItem&) = default;
};
