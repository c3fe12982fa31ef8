#pragma once

#include <QKeyCombination>

#include <cstdint>
#include <optional>

// The X key symbols of the toolkit's keys. A key is found by its symbol, the way the server's
// keymap names it, so what is printed on a key decides which key a hotkey grabs.
namespace X11KeySymbols {

// The key symbol of a combination's key, a keypad key's where it carries Qt::KeypadModifier;
// nothing for a key no hotkey is made of.
std::optional<std::uint32_t> forKeys(QKeyCombination keys);

// The key symbol the toolkit's key outside the keypad stands for; nothing for a key the table
// has no use for.
std::optional<std::uint32_t> forQtKey(Qt::Key qtKey);

} // namespace X11KeySymbols
