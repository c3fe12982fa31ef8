#include "MacDesktopIntegration.h"

#import <AppKit/AppKit.h>

namespace {

// A Qt window's native handle on macOS is its content NSView.
NSWindow* windowOf(std::uintptr_t nativeWindow) {
    NSView* view = (__bridge NSView*)reinterpret_cast<void*>(nativeWindow);
    return view.window;
}

} // namespace

const PlatformTexts& MacDesktopIntegration::texts() const {
    static const PlatformTexts texts{
        QStringLiteral("Default: Ctrl+Opt+Shift+Cmd + Arrow Keys"),
        QStringLiteral("Show menu bar icon"),
        QStringLiteral("Show or hide the menu bar icon"),
        QStringLiteral("Hide menu bar icon?"),
        QStringLiteral("You will need to re-launch Scrubline to show the icon again. Hotkeys will "
                       "continue to work."),
        QStringLiteral("The menu bar icon is hidden. Hotkeys still work. Re-launch the app to show "
                       "it again."),
        QStringLiteral("Accessibility"),
        QStringLiteral("Accessibility"),
        QStringLiteral("Optional. Required for IINA support."),
        QStringLiteral("Granted"),
        QStringLiteral("Not Granted"),
        // The row has its button; the hint of its kind is for the generic rows.
        QString(),
        QStringLiteral("Open Accessibility Settings"),
        QStringLiteral("Automation"),
        QStringLiteral("Open System Settings > Privacy & Security > Automation to grant access."),
        QStringLiteral("Chrome JavaScript"),
        QStringLiteral("In Chrome: View > Developer > Allow JavaScript from Apple Events"),
        QStringLiteral("Enable in Chrome: View > Developer > Allow JavaScript from Apple Events"),
        QStringLiteral("Open System Settings"),
        QStringLiteral("Grant %1 permission in System Settings > Privacy > Automation"),
    };
    return texts;
}

QString MacDesktopIntegration::systemDescription() const {
    // Every part of the version, the patch number also when it is 0. The processor is named as
    // the machines this build is for, not detected.
    const NSOperatingSystemVersion version = NSProcessInfo.processInfo.operatingSystemVersion;
    return QStringLiteral("macOS %1.%2.%3 | Apple Silicon (arm64)")
        .arg(version.majorVersion)
        .arg(version.minorVersion)
        .arg(version.patchVersion);
}

bool MacDesktopIntegration::canOpenSettings(SettingsPane /*pane*/) const {
    return true;
}

void MacDesktopIntegration::openSettings(SettingsPane pane) {
    NSString* address =
        pane == SettingsPane::automation
            ? @"x-apple.systempreferences:com.apple.preference.security?Privacy_Automation"
            : @"x-apple.systempreferences:com.apple.preference.security?Privacy_Accessibility";
    NSURL* url = [NSURL URLWithString:address];
    if (url != nil) {
        [[NSWorkspace sharedWorkspace] openURL:url];
    }
}

void MacDesktopIntegration::setRegularActivation(bool regular) {
    [NSApp setActivationPolicy:regular ? NSApplicationActivationPolicyRegular
                                       : NSApplicationActivationPolicyAccessory];
    if (regular) {
        [NSApp activateIgnoringOtherApps:YES];
    }
}

void MacDesktopIntegration::setFloating(std::uintptr_t nativeWindow, bool floating) {
    NSWindow* window = windowOf(nativeWindow);
    if (window == nil) {
        return;
    }
    window.level = floating ? NSFloatingWindowLevel : NSNormalWindowLevel;
    if (floating) {
        [window makeKeyAndOrderFront:nil];
    }
}

void MacDesktopIntegration::showOnEveryDesktop(std::uintptr_t nativeWindow) {
    NSWindow* window = windowOf(nativeWindow);
    if (window == nil) {
        return;
    }
    window.collectionBehavior = NSWindowCollectionBehaviorCanJoinAllSpaces |
                                NSWindowCollectionBehaviorStationary |
                                NSWindowCollectionBehaviorIgnoresCycle;
    window.hidesOnDeactivate = NO;
}
