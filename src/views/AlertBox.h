#pragma once

// Shows the services' alerts as message boxes. Installed once at start-up.
namespace AlertBox {
void install();
} // namespace AlertBox
