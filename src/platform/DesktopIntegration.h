#pragma once

#include <QString>

#include <cstdint>

// What the views need from the desktop they run on: its wording for things that differ between
// platforms, and the window behaviours the toolkit leaves to the program.
class DesktopIntegration {
public:
    virtual ~DesktopIntegration() = default;

    // The welcome text's line that names the preset hotkeys' modifier keys, in this platform's
    // names for them.
    virtual QString defaultHotkeysHint() const = 0;
    // Lets the floating window with this native handle show on every virtual desktop (Space),
    // where the window system leaves that to the program.
    virtual void showOnEveryDesktop(std::uintptr_t nativeWindow) = 0;
};
