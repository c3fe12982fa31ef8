#pragma once

#include <QKeyCombination>
#include <QString>
#include <QtCore/qnamespace.h>

#include <cstdint>
#include <optional>
#include <span>

// Carbon hot-key modifier bits. Hotkeys are stored with these on every platform.
namespace CarbonModifier {
inline constexpr std::uint32_t command = 0x100;
inline constexpr std::uint32_t shift = 0x200;
inline constexpr std::uint32_t option = 0x800;
inline constexpr std::uint32_t control = 0x1000;
} // namespace CarbonModifier

// The keys a hotkey can be made of. Hotkeys are stored with macOS virtual
// key codes on every platform, so that settings travel between machines; a code names a key by
// its place on an ANSI keyboard. This is the one place that says what each stored code is: its
// name in the hotkey display, and the toolkit's key for it, through which a stored hotkey
// becomes the key combination the hotkey service binds and a recorded key press a stored code.
class KeyTable {
public:
    struct Key {
        std::uint16_t keyCode;
        // UTF-8.
        const char* name;
        // Qt::Key_unknown where the toolkit has no key of its own for it.
        Qt::Key qtKey;
        // The toolkit reports the key as qtKey with Qt::KeypadModifier: its keypad digits and
        // operators share their keys' names with the main block's.
        bool keypad = false;
    };

    // In ascending order of key code.
    static std::span<const Key> keys();
    static std::optional<Key> forKeyCode(std::uint16_t keyCode);
    // The key outside the keypad that the toolkit names qtKey.
    static std::optional<Key> forQtKey(Qt::Key qtKey);
    // The key of a key press as the toolkit reports it, or nothing for a key no hotkey can be
    // made of (a modifier alone, a lock, a media key). Keypad keys are told apart by
    // Qt::KeypadModifier, whatever the state of Num Lock; Shift+Tab (Qt::Key_Backtab) is Tab.
    // With Shift held the toolkit names the symbol a key types, not the key: those symbols are
    // read as the keys that type them on a US layout, since the stored codes name the places of
    // keys on an ANSI keyboard (Shift+1 reports Qt::Key_Exclam and gives the code of 1).
    //
    // What a keypad-flagged key that is not a keypad key means depends on the desktop: where the
    // keypad has a Num Lock (X11, Wayland) it is the keypad key printed under it with Num Lock
    // off; on macOS, whose toolkit flags the arrow keys as keypad keys, it is the key itself.
    enum class KeypadFlag { numLockOffKeypad, keyItself };
    static std::optional<Key> forKeyPress(Qt::Key qtKey, Qt::KeyboardModifiers modifiers,
                                          KeypadFlag keypadFlag = KeypadFlag::numLockOffKeypad);

    // "Key<code>" for a code the table does not name.
    static QString keyName(std::uint16_t keyCode);
    // How combinations are written: with the glyphs printed on a Mac keyboard ("⌃⌥⌘→", the
    // default), or with the words a PC keyboard has, joined by "+" ("Ctrl+Alt+Super+→"), as
    // the desktops there write them. The platform's profile says which.
    enum class ModifierStyle { glyphs, words };
    // The modifiers in the order control, option, shift, command, then the key's name, in
    // `style`.
    static QString displayString(std::uint16_t keyCode, std::uint32_t carbonModifiers,
                                 ModifierStyle style);
    // The same for a combination; "Key?" after the modifiers for a key the table does not know.
    static QString displayString(QKeyCombination keys, ModifierStyle style);

    // A stored hotkey: its key code and Carbon modifier mask.
    struct StoredKeys {
        std::uint16_t keyCode = 0;
        std::uint32_t carbonModifiers = 0;
        friend bool operator==(const StoredKeys&, const StoredKeys&) = default;
    };
    // The stored form and the toolkit's are turned into each other here and nowhere else. The
    // combination names the modifiers as a PC keyboard does, whatever the toolkit of a Mac
    // reports: control is Qt::ControlModifier, option Qt::AltModifier, shift Qt::ShiftModifier,
    // command (Super) Qt::MetaModifier; a keypad key carries Qt::KeypadModifier. Nothing for a
    // key code the table does not know, or a combination no stored hotkey can be.
    static std::optional<QKeyCombination> toKeyCombination(StoredKeys stored);
    static std::optional<StoredKeys> toStoredKeys(QKeyCombination keys);
    // Only the four modifiers a hotkey may hold, in either form.
    static Qt::KeyboardModifiers toQtModifiers(std::uint32_t carbonModifiers);
    static std::uint32_t toCarbonModifiers(Qt::KeyboardModifiers modifiers);
};
