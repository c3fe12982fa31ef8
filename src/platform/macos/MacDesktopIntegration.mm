#include "MacDesktopIntegration.h"

#import <AppKit/AppKit.h>

QString MacDesktopIntegration::defaultHotkeysHint() const {
    return QStringLiteral("Default: Ctrl+Opt+Shift+Cmd + Arrow Keys");
}

void MacDesktopIntegration::showOnEveryDesktop(std::uintptr_t nativeWindow) {
    // A Qt window's native handle on macOS is its content NSView.
    NSView* view = (__bridge NSView*)reinterpret_cast<void*>(nativeWindow);
    NSWindow* window = view.window;
    if (window == nil) {
        return;
    }
    window.collectionBehavior = NSWindowCollectionBehaviorCanJoinAllSpaces |
                                NSWindowCollectionBehaviorStationary |
                                NSWindowCollectionBehaviorIgnoresCycle;
    window.hidesOnDeactivate = NO;
}
