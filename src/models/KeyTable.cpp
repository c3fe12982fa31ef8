#include "KeyTable.h"

#include <array>
namespace {

using Key = KeyTable::Key;

// Codes the hotkey display has no name for show as "Key<code>", as everywhere else; their entry
// says so itself, so that keyName() reads every name from here.
constexpr std::array<Key, 100> kKeys{{
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
    {51, "\u232B", Qt::Key_Backspace}, // macOS calls it "delete"
    {53, "\u238B", Qt::Key_Escape},
    {64, "Key64", Qt::Key_F17},
    {65, "Key65", Qt::Key_Period, true},
    {67, "Key67", Qt::Key_Asterisk, true},
    {69, "Key69", Qt::Key_Plus, true},
    {71, "Key71", Qt::Key_Clear}, // keypad clear; no keypad of a PC keyboard has it
    {75, "Key75", Qt::Key_Slash, true},
    {76, "Key76", Qt::Key_Enter, true},
    {78, "Key78", Qt::Key_Minus, true},
    {79, "Key79", Qt::Key_F18},
    {80, "Key80", Qt::Key_F19},
    {81, "Key81", Qt::Key_Equal, true},
    {82, "Key82", Qt::Key_0, true},
    {83, "Key83", Qt::Key_1, true},
    {84, "Key84", Qt::Key_2, true},
    {85, "Key85", Qt::Key_3, true},
    {86, "Key86", Qt::Key_4, true},
    {87, "Key87", Qt::Key_5, true},
    {88, "Key88", Qt::Key_6, true},
    {89, "Key89", Qt::Key_7, true},
    {90, "Key90", Qt::Key_F20},
    {91, "Key91", Qt::Key_8, true},
    {92, "Key92", Qt::Key_9, true},
    {96, "F5", Qt::Key_F5},
    {97, "F6", Qt::Key_F6},
    {98, "F7", Qt::Key_F7},
    {99, "F3", Qt::Key_F3},
    {100, "F8", Qt::Key_F8},
    {101, "F9", Qt::Key_F9},
    {103, "F11", Qt::Key_F11},
    {105, "Key105", Qt::Key_F13},
    {106, "Key106", Qt::Key_F16},
    {107, "Key107", Qt::Key_F14},
    {109, "F10", Qt::Key_F10},
    {111, "F12", Qt::Key_F12},
    {113, "Key113", Qt::Key_F15},
    {114, "Key114", Qt::Key_Insert}, // help, where a PC keyboard has insert
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

struct Alias {
    Qt::Key qtKey;
    std::uint16_t keyCode;
};

// The symbols Shift gives the digit and punctuation keys of a US layout, and those keys' codes.
constexpr std::array<Alias, 21> kShiftedSymbols{{
    {Qt::Key_Exclam, 18},     {Qt::Key_At, 19},         {Qt::Key_NumberSign, 20},
    {Qt::Key_Dollar, 21},     {Qt::Key_Percent, 23},    {Qt::Key_AsciiCircum, 22},
    {Qt::Key_Ampersand, 26},  {Qt::Key_Asterisk, 28},   {Qt::Key_ParenLeft, 25},
    {Qt::Key_ParenRight, 29}, {Qt::Key_Underscore, 27}, {Qt::Key_Plus, 24},
    {Qt::Key_BraceLeft, 33},  {Qt::Key_BraceRight, 30}, {Qt::Key_Bar, 42},
    {Qt::Key_Colon, 41},      {Qt::Key_QuoteDbl, 39},   {Qt::Key_Less, 43},
    {Qt::Key_Greater, 47},    {Qt::Key_Question, 44},   {Qt::Key_AsciiTilde, 50},
}};

// With Num Lock off (or Shift inverting it) the keypad's digits and point report the
// navigation keys printed under them, still with Qt::KeypadModifier; they are the same keys,
// and the grab finds them by the symbols they send with Num Lock on.
constexpr std::array<Alias, 11> kKeypadNavigation{{
    {Qt::Key_Insert, 82},
    {Qt::Key_End, 83},
    {Qt::Key_Down, 84},
    {Qt::Key_PageDown, 85},
    {Qt::Key_Left, 86},
    {Qt::Key_Clear, 87}, // 5, which has no navigation of its own
    {Qt::Key_Right, 88},
    {Qt::Key_Home, 89},
    {Qt::Key_Up, 91},
    {Qt::Key_PageUp, 92},
    {Qt::Key_Delete, 65},
}};

std::optional<Key> find(Qt::Key qtKey, bool keypad) {
    if (qtKey == Qt::Key_unknown) {
        return std::nullopt;
    }
    for (const Key& key : kKeys) {
        if (key.qtKey == qtKey && key.keypad == keypad) {
            return key;
        }
    }
    return std::nullopt;
}

template <std::size_t size>
std::optional<std::uint16_t> aliasOf(const std::array<Alias, size>& aliases, Qt::Key qtKey) {
    for (const Alias& alias : aliases) {
        if (alias.qtKey == qtKey) {
            return alias.keyCode;
        }
    }
    return std::nullopt;
}

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
    return find(qtKey, false);
}

std::optional<Key> KeyTable::forKeyPress(Qt::Key qtKey, Qt::KeyboardModifiers modifiers,
                                         KeypadFlag keypadFlag) {
    if (modifiers.testFlag(Qt::KeypadModifier)) {
        if (const auto key = find(qtKey, true)) {
            return key;
        }
        if (keypadFlag == KeypadFlag::keyItself) {
            return forQtKey(qtKey);
        }
        if (const auto keyCode = aliasOf(kKeypadNavigation, qtKey)) {
            return forKeyCode(*keyCode);
        }
        return std::nullopt;
    }
    if (qtKey == Qt::Key_Backtab) {
        return forQtKey(Qt::Key_Tab);
    }
    // Qt::Key_Enter without the keypad flag still comes from a keypad's Enter.
    if (qtKey == Qt::Key_Enter) {
        return find(qtKey, true);
    }
    if (modifiers.testFlag(Qt::ShiftModifier)) {
        if (const auto keyCode = aliasOf(kShiftedSymbols, qtKey)) {
            return forKeyCode(*keyCode);
        }
    }
    return forQtKey(qtKey);
}

QString KeyTable::keyName(std::uint16_t keyCode) {
    if (const auto key = forKeyCode(keyCode)) {
        return QString::fromUtf8(key->name);
    }
    return QStringLiteral("Key%1").arg(keyCode);
}

namespace {

// What a PC keyboard prints on the keys that a Mac's shows as glyphs; the arrows read the same
// on both.
QString wordFor(std::uint16_t keyCode) {
    switch (keyCode) {
    case 36:
        return QStringLiteral("Enter");
    case 48:
        return QStringLiteral("Tab");
    case 51:
        return QStringLiteral("Backspace");
    case 53:
        return QStringLiteral("Esc");
    case 115:
        return QStringLiteral("Home");
    case 117:
        return QStringLiteral("Del");
    case 119:
        return QStringLiteral("End");
    default:
        return KeyTable::keyName(keyCode);
    }
}

// The modifiers as the combination is written before its key.
QString modifierText(std::uint32_t carbonModifiers, KeyTable::ModifierStyle style) {
    const bool words = style == KeyTable::ModifierStyle::words;
    QString text;
    if (carbonModifiers & CarbonModifier::control) {
        text += words ? QStringLiteral("Ctrl+") : QString(QChar(0x2303));
    }
    if (carbonModifiers & CarbonModifier::option) {
        text += words ? QStringLiteral("Alt+") : QString(QChar(0x2325));
    }
    if (carbonModifiers & CarbonModifier::shift) {
        text += words ? QStringLiteral("Shift+") : QString(QChar(0x21E7));
    }
    if (carbonModifiers & CarbonModifier::command) {
        text += words ? QStringLiteral("Super+") : QString(QChar(0x2318));
    }
    return text;
}

} // namespace

QString KeyTable::displayString(std::uint16_t keyCode, std::uint32_t carbonModifiers,
                                ModifierStyle style) {
    return modifierText(carbonModifiers, style) +
           (style == ModifierStyle::words ? wordFor(keyCode) : keyName(keyCode));
}

namespace {

struct ModifierPair {
    std::uint32_t carbon;
    Qt::KeyboardModifier qt;
};

constexpr std::array<ModifierPair, 4> kModifiers{{
    {CarbonModifier::control, Qt::ControlModifier},
    {CarbonModifier::option, Qt::AltModifier},
    {CarbonModifier::shift, Qt::ShiftModifier},
    {CarbonModifier::command, Qt::MetaModifier},
}};

constexpr std::uint32_t kCarbonMask = CarbonModifier::control | CarbonModifier::option |
                                      CarbonModifier::shift | CarbonModifier::command;

} // namespace

Qt::KeyboardModifiers KeyTable::toQtModifiers(std::uint32_t carbonModifiers) {
    Qt::KeyboardModifiers modifiers;
    for (const ModifierPair& pair : kModifiers) {
        if ((carbonModifiers & pair.carbon) != 0) {
            modifiers |= pair.qt;
        }
    }
    return modifiers;
}

std::uint32_t KeyTable::toCarbonModifiers(Qt::KeyboardModifiers modifiers) {
    std::uint32_t mask = 0;
    for (const ModifierPair& pair : kModifiers) {
        if (modifiers.testFlag(pair.qt)) {
            mask |= pair.carbon;
        }
    }
    return mask;
}

std::optional<QKeyCombination> KeyTable::toKeyCombination(StoredKeys stored) {
    const auto key = forKeyCode(stored.keyCode);
    // Bits beyond the four would be lost on the way back, and a file that holds them was not
    // written by this program.
    if (!key || (stored.carbonModifiers & ~kCarbonMask) != 0) {
        return std::nullopt;
    }
    Qt::KeyboardModifiers modifiers = toQtModifiers(stored.carbonModifiers);
    if (key->keypad) {
        modifiers |= Qt::KeypadModifier;
    }
    return QKeyCombination(modifiers, key->qtKey);
}

std::optional<KeyTable::StoredKeys> KeyTable::toStoredKeys(QKeyCombination keys) {
    const Qt::KeyboardModifiers modifiers = keys.keyboardModifiers();
    const Qt::KeyboardModifiers hotkeyModifiers =
        Qt::ControlModifier | Qt::AltModifier | Qt::ShiftModifier | Qt::MetaModifier;
    if ((modifiers & ~(hotkeyModifiers | Qt::KeypadModifier)) != 0) {
        return std::nullopt;
    }
    const auto key = find(keys.key(), modifiers.testFlag(Qt::KeypadModifier));
    if (!key) {
        return std::nullopt;
    }
    return StoredKeys{key->keyCode, toCarbonModifiers(modifiers)};
}

QString KeyTable::displayString(QKeyCombination keys, ModifierStyle style) {
    if (const auto stored = toStoredKeys(keys)) {
        return displayString(stored->keyCode, stored->carbonModifiers, style);
    }
    return modifierText(toCarbonModifiers(keys.keyboardModifiers()), style) +
           QStringLiteral("Key?");
}
