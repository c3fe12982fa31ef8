#include "KeyTable.h"

#include <array>

namespace {

using Key = KeyTable::Key;

constexpr std::array<Key, 73> kKeys{{
    {0, "A", Qt::Key_A},
    {1, "S", Qt::Key_S},
    {2, "D", Qt::Key_D},
    {3, "F", Qt::Key_F},
    {4, "H", Qt::Key_H},
    {5, "G", Qt::Key_G},
    {6, "Z", Qt::Key_Z},
    {7, "X", Qt::Key_X},
    {8, "C", Qt::Key_C},
    {9, "V", Qt::Key_V},
    {11, "B", Qt::Key_B},
    {12, "Q", Qt::Key_Q},
    {13, "W", Qt::Key_W},
    {14, "E", Qt::Key_E},
    {15, "R", Qt::Key_R},
    {16, "Y", Qt::Key_Y},
    {17, "T", Qt::Key_T},
    {18, "1", Qt::Key_1},
    {19, "2", Qt::Key_2},
    {20, "3", Qt::Key_3},
    {21, "4", Qt::Key_4},
    {22, "6", Qt::Key_6},
    {23, "5", Qt::Key_5},
    {24, "=", Qt::Key_Equal},
    {25, "9", Qt::Key_9},
    {26, "7", Qt::Key_7},
    {27, "-", Qt::Key_Minus},
    {28, "8", Qt::Key_8},
    {29, "0", Qt::Key_0},
    {30, "]", Qt::Key_BracketRight},
    {31, "O", Qt::Key_O},
    {32, "U", Qt::Key_U},
    {33, "[", Qt::Key_BracketLeft},
    {34, "I", Qt::Key_I},
    {35, "P", Qt::Key_P},
    {36, "\u21A9", Qt::Key_Return},
    {37, "L", Qt::Key_L},
    {38, "J", Qt::Key_J},
    {39, "'", Qt::Key_Apostrophe},
    {40, "K", Qt::Key_K},
    {41, ";", Qt::Key_Semicolon},
    {42, "\\", Qt::Key_Backslash},
    {43, ",", Qt::Key_Comma},
    {44, "/", Qt::Key_Slash},
    {45, "N", Qt::Key_N},
    {46, "M", Qt::Key_M},
    {47, ".", Qt::Key_Period},
    {48, "\u21E5", Qt::Key_Tab},
    {49, "Space", Qt::Key_Space},
    {50, "`", Qt::Key_QuoteLeft},
    {51, "\u232B", Qt::Key_Backspace}, // the reference platform's "delete"
    {53, "\u238B", Qt::Key_Escape},
    {96, "F5", Qt::Key_F5},
    {97, "F6", Qt::Key_F6},
    {98, "F7", Qt::Key_F7},
    {99, "F3", Qt::Key_F3},
    {100, "F8", Qt::Key_F8},
    {101, "F9", Qt::Key_F9},
    {103, "F11", Qt::Key_F11},
    {109, "F10", Qt::Key_F10},
    {111, "F12", Qt::Key_F12},
    {115, "\u2196", Qt::Key_Home},
    {116, "PgUp", Qt::Key_PageUp},
    {117, "\u2326", Qt::Key_Delete}, // forward delete
    {118, "F4", Qt::Key_F4},
    {119, "\u2198", Qt::Key_End},
    {120, "F2", Qt::Key_F2},
    {121, "PgDn", Qt::Key_PageDown},
    {122, "F1", Qt::Key_F1},
    {123, "\u2190", Qt::Key_Left},
    {124, "\u2192", Qt::Key_Right},
    {125, "\u2193", Qt::Key_Down},
    {126, "\u2191", Qt::Key_Up},
}};

constexpr bool ascendingAndUnique() {
    for (std::size_t i = 1; i < kKeys.size(); ++i) {
        if (kKeys[i - 1].keyCode >= kKeys[i].keyCode) {
            return false;
        }
    }
    return true;
}
static_assert(ascendingAndUnique(), "keys() promises ascending key codes");

} // namespace

std::span<const Key> KeyTable::keys() {
    return kKeys;
}

std::optional<Key> KeyTable::forKeyCode(std::uint16_t keyCode) {
    for (const Key& key : kKeys) {
        if (key.keyCode == keyCode) {
            return key;
        }
    }
    return std::nullopt;
}

std::optional<Key> KeyTable::forQtKey(Qt::Key qtKey) {
    if (qtKey == Qt::Key_unknown) {
        return std::nullopt;
    }
    for (const Key& key : kKeys) {
        if (key.qtKey == qtKey) {
            return key;
        }
    }
    return std::nullopt;
}

QString KeyTable::keyName(std::uint16_t keyCode) {
    if (const auto key = forKeyCode(keyCode)) {
        return QString::fromUtf8(key->name);
    }
    return QStringLiteral("Key%1").arg(keyCode);
}

QString KeyTable::displayString(std::uint16_t keyCode, std::uint32_t carbonModifiers) {
    QString text;
    if (carbonModifiers & CarbonModifier::control) {
        text += QChar(0x2303);
    }
    if (carbonModifiers & CarbonModifier::option) {
        text += QChar(0x2325);
    }
    if (carbonModifiers & CarbonModifier::shift) {
        text += QChar(0x21E7);
    }
    if (carbonModifiers & CarbonModifier::command) {
        text += QChar(0x2318);
    }
    return text + keyName(keyCode);
}

std::uint32_t KeyTable::toCarbonModifiers(std::uint64_t modifierFlags) {
    std::uint32_t mask = 0;
    if (modifierFlags & ModifierFlag::command) {
        mask |= CarbonModifier::command;
    }
    if (modifierFlags & ModifierFlag::shift) {
        mask |= CarbonModifier::shift;
    }
    if (modifierFlags & ModifierFlag::option) {
        mask |= CarbonModifier::option;
    }
    if (modifierFlags & ModifierFlag::control) {
        mask |= CarbonModifier::control;
    }
    return mask;
}
