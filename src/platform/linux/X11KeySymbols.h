#pragma once

#include <cstdint>
#include <optional>
#include <vector>

// Hotkeys are stored with the reference platform's virtual key codes, which name a key by its
// place on an ANSI keyboard. Here they become the X key symbols printed on those keys.
namespace X11KeySymbols {

// The key symbol of a stored key code, or nothing for a key code outside the table.
std::optional<std::uint32_t> forKeyCode(std::uint16_t keyCode);

// Every key code the table knows, in ascending order.
std::vector<std::uint16_t> knownKeyCodes();

} // namespace X11KeySymbols
