#pragma once

// Shows the alerts the program has for the user as message boxes.
struct UserAlert;

namespace AlertBox {

// Shows the alert as an informational message box and returns at once; the box closes and
// frees itself when its button is pressed.
void show(const UserAlert& alert);

} // namespace AlertBox
