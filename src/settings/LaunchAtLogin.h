#pragma once

#include <memory>

class LoginItem;

// Carries the launch-at-login preference to the desktop. Failures are only logged.
namespace LaunchAtLogin {

// Registers or unregisters the program as a login item. The current state is not asked first,
// and a failure is neither shown nor rolled back.
void setEnabled(bool enabled);

// The login item it registers with, given by the application shell at start-up; until then
// every change only logs an error.
void setLoginItem(std::unique_ptr<LoginItem> item);

} // namespace LaunchAtLogin
