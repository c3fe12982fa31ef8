#pragma once

#include "PlatformTexts.h"

#include <QString>

#include <cstdint>

// What the views need from the desktop they run on: its wording for things that differ between
// platforms, and the window behaviours the toolkit leaves to the program.
class DesktopIntegration {
public:
    virtual ~DesktopIntegration() = default;

    // The sentences that name this desktop's places and keys.
    virtual const PlatformTexts& texts() const = 0;
    // The system the program runs on, as the About tab and the debug line show it: the system
    // and its version, then the processor, parted by " | ".
    virtual QString systemDescription() const = 0;
    // The places in the system's settings the Permissions tab leads to.
    enum class SettingsPane { automation, accessibility };
    // Whether this desktop has such a place that the program knows how to open.
    virtual bool canOpenSettings(SettingsPane pane) const = 0;
    // Opens it, without waiting for it; does nothing where there is none.
    virtual void openSettings(SettingsPane pane) = 0;

    // The welcome text's line that names the preset hotkeys' modifier keys, in this platform's
    // names for them.
    QString defaultHotkeysHint() const { return texts().defaultHotkeysHint; }
    // Lets the floating window with this native handle show on every virtual desktop (Space),
    // where the window system leaves that to the program.
    virtual void showOnEveryDesktop(std::uintptr_t nativeWindow) = 0;

    // Whether the program shows as a regular one (a Dock icon and a menu bar) rather than as
    // an accessory of the menu bar, where the desktop makes that difference; the settings
    // window switches it while it is open.
    virtual void setRegularActivation(bool regular) = 0;
    // Keeps the window with this native handle above other programs' windows, or lets it stack
    // as usual again, where the desktop leaves that to the program.
    virtual void setFloating(std::uintptr_t nativeWindow, bool floating) = 0;
    // Whether the program places its own windows and may open a pop-up that hangs from none of
    // them, as X11 and macOS let it. Under Wayland the compositor places every window, and a
    // pop-up hangs from the window of the program that last took input, with a grab that the
    // compositor refuses for a click it did not see there (a click on a tray item).
    virtual bool placesOwnWindows() const = 0;
};
