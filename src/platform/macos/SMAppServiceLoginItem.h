#pragma once

#include "platform/LoginItem.h"

// The program's bundle as a login item of the service-management framework.
class SMAppServiceLoginItem final : public LoginItem {
public:
    QString setEnabled(bool enabled) override;
    // Registered and allowed: an item still waiting for the user's approval in System Settings
    // does not start the program yet.
    bool isEnabled() const override;
};
