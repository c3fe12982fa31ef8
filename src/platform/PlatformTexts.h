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
};
