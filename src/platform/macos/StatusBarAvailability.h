#pragma once

#include "platform/TrayAvailability.h"

// The menu bar's status area, where the program's status item goes: part of every macOS
// session from login to logout, so always there.
class StatusBarAvailability final : public TrayAvailability {
    Q_OBJECT

public:
    using TrayAvailability::TrayAvailability;

    State state() const override { return State::present; }
};
