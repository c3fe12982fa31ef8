#include "WorkspaceRunningApps.h"

#import <AppKit/AppKit.h>

#include <optional>

struct WorkspaceRunningApps::Observers {
    id launch = nil;
    id terminate = nil;
};

namespace {

// The bundle identifiers of the apps the scripts drive; a name is only looked at where an
// application has no bundle identifier, since the localized name follows the user's language.
std::optional<MediaApp> mediaAppOf(NSRunningApplication* app) {
    if (![app isKindOfClass:[NSRunningApplication class]]) {
        return std::nullopt;
    }
    NSString* bundle = app.bundleIdentifier;
    if (bundle != nil) {
        if ([bundle isEqualToString:@"com.spotify.client"]) {
            return MediaApp::spotify;
        }
        if ([bundle isEqualToString:@"com.apple.Music"]) {
            return MediaApp::appleMusic;
        }
        if ([bundle isEqualToString:@"com.google.Chrome"]) {
            return MediaApp::chromiumYouTube;
        }
        if ([bundle isEqualToString:@"com.apple.Safari"]) {
            return MediaApp::safariYouTube;
        }
        return std::nullopt;
    }
    if (app.localizedName == nil) {
        return std::nullopt;
    }
    const QString name = QString::fromNSString(app.localizedName);
    for (const MediaApp candidate : MediaApp::allCases()) {
        if (candidate.processName() == name) {
            return candidate;
        }
    }
    return std::nullopt;
}

NSRunningApplication* applicationOf(NSNotification* notification) {
    return notification.userInfo[NSWorkspaceApplicationKey];
}

// Whether another copy of the app than the one that ended still runs.
bool stillRunsWithout(MediaApp app, NSRunningApplication* ended) {
    for (NSRunningApplication* other in NSWorkspace.sharedWorkspace.runningApplications) {
        if (other.processIdentifier != ended.processIdentifier && !other.terminated &&
            mediaAppOf(other) == app) {
            return true;
        }
    }
    return false;
}

} // namespace

WorkspaceRunningApps::WorkspaceRunningApps()
    : m_observers(new Observers) {
    NSNotificationCenter* center = NSWorkspace.sharedWorkspace.notificationCenter;
    // Delivered on the main queue, which is the GUI thread's.
    m_observers->launch = [center
        addObserverForName:NSWorkspaceDidLaunchApplicationNotification
                    object:nil
                     queue:NSOperationQueue.mainQueue
                usingBlock:^(NSNotification* notification) {
                  if (const std::optional<MediaApp> app = mediaAppOf(applicationOf(notification))) {
                      emit launched(*app);
                  }
                }];
    m_observers->terminate =
        [center addObserverForName:NSWorkspaceDidTerminateApplicationNotification
                            object:nil
                             queue:NSOperationQueue.mainQueue
                        usingBlock:^(NSNotification* notification) {
                          NSRunningApplication* ended = applicationOf(notification);
                          const std::optional<MediaApp> app = mediaAppOf(ended);
                          if (app && !stillRunsWithout(*app, ended)) {
                              emit terminated(*app);
                          }
                        }];
}

WorkspaceRunningApps::~WorkspaceRunningApps() {
    NSNotificationCenter* center = NSWorkspace.sharedWorkspace.notificationCenter;
    [center removeObserver:m_observers->launch];
    [center removeObserver:m_observers->terminate];
    delete m_observers;
}

QSet<MediaApp> WorkspaceRunningApps::runningApps() const {
    QSet<MediaApp> apps;
    @autoreleasepool {
        for (NSRunningApplication* app in NSWorkspace.sharedWorkspace.runningApplications) {
            if (const std::optional<MediaApp> found = mediaAppOf(app)) {
                apps.insert(*found);
            }
        }
    }
    return apps;
}
