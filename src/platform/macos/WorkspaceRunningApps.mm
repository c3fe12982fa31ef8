#include "WorkspaceRunningApps.h"

#import <AppKit/AppKit.h>

struct WorkspaceRunningApps::Observers {
    id launch = nil;
    id terminate = nil;
};

namespace {

// The localized name of the application a workspace notification is about, or empty.
QString applicationName(NSNotification* notification) {
    NSRunningApplication* app = notification.userInfo[NSWorkspaceApplicationKey];
    if (![app isKindOfClass:[NSRunningApplication class]] || app.localizedName == nil) {
        return {};
    }
    return QString::fromNSString(app.localizedName);
}

} // namespace

WorkspaceRunningApps::WorkspaceRunningApps()
    : m_observers(new Observers) {
    NSNotificationCenter* center = NSWorkspace.sharedWorkspace.notificationCenter;
    // Delivered on the main queue, which is the GUI thread's.
    m_observers->launch = [center addObserverForName:NSWorkspaceDidLaunchApplicationNotification
                                              object:nil
                                               queue:NSOperationQueue.mainQueue
                                          usingBlock:^(NSNotification* notification) {
                                            const QString name = applicationName(notification);
                                            if (!name.isEmpty()) {
                                                emit launched(name);
                                            }
                                          }];
    m_observers->terminate =
        [center addObserverForName:NSWorkspaceDidTerminateApplicationNotification
                            object:nil
                             queue:NSOperationQueue.mainQueue
                        usingBlock:^(NSNotification* notification) {
                          const QString name = applicationName(notification);
                          if (!name.isEmpty()) {
                              emit terminated(name);
                          }
                        }];
}

WorkspaceRunningApps::~WorkspaceRunningApps() {
    NSNotificationCenter* center = NSWorkspace.sharedWorkspace.notificationCenter;
    [center removeObserver:m_observers->launch];
    [center removeObserver:m_observers->terminate];
    delete m_observers;
}

QSet<QString> WorkspaceRunningApps::runningNames() const {
    QSet<QString> names;
    @autoreleasepool {
        for (NSRunningApplication* app in NSWorkspace.sharedWorkspace.runningApplications) {
            if (app.localizedName != nil) {
                names.insert(QString::fromNSString(app.localizedName));
            }
        }
    }
    return names;
}
