#pragma once

#include "models/KeyTable.h"
#include "models/MediaApp.h"

#include <QList>

// What sets this platform apart in the program's own terms. The application shell reads it once
// and hands each part to the objects that need it, through their constructors.
struct PlatformProfile {
    // The media apps offered, in their default priority order: what the settings reconcile,
    // the Apps tab shows and the controller tries.
    QList<MediaApp> mediaApps;
    // After the site they drive, or after the browser where they drive the media of any page.
    MediaApp::BrowserNaming browserNaming = MediaApp::BrowserNaming::bySite;
    // With the Mac's glyphs, or with the words the PC desktops write ("Ctrl+Alt+Super+Right").
    KeyTable::ModifierStyle modifierStyle = KeyTable::ModifierStyle::glyphs;
    // Whether the toolkit reports the Command key as Control and Control as Meta, as it does on
    // macOS; the hotkey recorder reads the modifiers of a key event through this.
    bool toolkitSwapsControlAndCommand = false;
};
