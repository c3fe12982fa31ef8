#pragma once

#include <QtCore/qnamespace.h>

#include <cstdint>
#include <optional>

// The X key symbols of the keys in KeyTable. A key is found by its symbol, the way the server's
// keymap names it, so what is printed on a key decides which key a hotkey grabs.
namespace X11KeySymbols {

// The key symbol of a stored key code, or nothing for a key code outside the table.
std::optional<std::uint32_t> forKeyCode(std::uint16_t keyCode);

// The key symbol the toolkit's key outside the keypad stands for; nothing for a key the table
// has no use for.
std::optional<std::uint32_t> forQtKey(Qt::Key qtKey);

} // namespace X11KeySymbols
