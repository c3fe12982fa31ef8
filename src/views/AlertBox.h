#pragma once

// Shows the services' alerts as message boxes. Installed once at start-up.
struct UserAlert;

namespace AlertBox {

void install();

// Shows the alert as an informational message box and returns at once; the box closes and
// frees itself when its button is pressed.
void show(const UserAlert& alert);

} // namespace AlertBox
