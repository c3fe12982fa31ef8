#pragma once

#include <QString>

// The program's own entry in the list of things the desktop starts at login.
class LoginItem {
public:
    virtual ~LoginItem() = default;

    // Registers (enabled) or unregisters the program. Returns an empty string on success, else
    // a description of what failed, fit for the log.
    virtual QString setEnabled(bool enabled) = 0;

    // Whether the desktop will start this program at the next login, asked of the desktop
    // itself: the user may have removed or switched off the entry behind our back.
    virtual bool isEnabled() const = 0;
};
