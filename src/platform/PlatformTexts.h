#pragma once

#include <QString>

// The user-visible sentences that name a place or habit of one desktop: the macOS menu bar is a
// tray elsewhere. Every view takes them from here, never from a conditional of its own.
struct PlatformTexts {
    // The hotkey presets' modifier keys, as the welcome content names them.
    QString defaultHotkeysHint;
    // The General tab's icon toggle, its accessibility label, and the confirmation and note
    // around hiding the icon.
    QString showIconToggle;
    QString showIconAccessibility;
    QString hideIconTitle;
    QString hideIconMessage;
    QString iconHiddenNote;

    // The Permissions tab: the section, row, details and status words of the row that says
    // whether the keyboard can be had system-wide, and the hint under it while it cannot.
    QString accessibilitySection;
    QString accessibilityTitle;
    QString accessibilityDetail;
    QString accessibilityGranted;
    QString accessibilityNotGranted;
    QString accessibilityHint;
    QString openAccessibilitySettings;
    // The sections of the players and of the browsers' page scripts, the hints under a denied
    // row of each, the browsers' footnote and the button that opens the system's settings.
    QString automationSection;
    QString automationDeniedHint;
    QString chromeSection;
    QString chromeDeniedHint;
    QString chromeFootnote;
    QString openSystemSettings;
    // The status line when a player refuses to be controlled until the user allows it; "%1"
    // stands for the app's name.
    QString permissionDeniedStatus;
};
