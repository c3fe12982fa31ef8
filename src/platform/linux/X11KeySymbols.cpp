#include "X11KeySymbols.h"

#include <X11/keysym.h>

namespace {

// A keypad key is grabbed by the symbol it sends with Num Lock on. That symbol is the key's own
// (KP_5 is on the keypad's 5 and nowhere else), while the Num Lock off level is missing on
// layouts whose keypad always types digits, and the grab counts with Num Lock on or off anyway,
// since it is made for every state of the locks.
std::optional<std::uint32_t> keypadSymbol(Qt::Key qtKey) {
    if (qtKey >= Qt::Key_0 && qtKey <= Qt::Key_9) {
        return XK_KP_0 + static_cast<std::uint32_t>(qtKey - Qt::Key_0);
    }
    switch (qtKey) {
    case Qt::Key_Period:
        return XK_KP_Decimal;
    case Qt::Key_Asterisk:
        return XK_KP_Multiply;
    case Qt::Key_Plus:
        return XK_KP_Add;
    case Qt::Key_Minus:
        return XK_KP_Subtract;
    case Qt::Key_Slash:
        return XK_KP_Divide;
    case Qt::Key_Equal:
        return XK_KP_Equal;
    case Qt::Key_Enter:
        return XK_KP_Enter;
    default:
        return std::nullopt;
    }
}

} // namespace

namespace X11KeySymbols {

std::optional<std::uint32_t> forKeys(QKeyCombination keys) {
    return keys.keyboardModifiers().testFlag(Qt::KeypadModifier) ? keypadSymbol(keys.key())
                                                                 : forQtKey(keys.key());
}

std::optional<std::uint32_t> forQtKey(Qt::Key qtKey) {
    // The toolkit names a letter by its capital; the keymap has the small one unshifted.
    if (qtKey >= Qt::Key_A && qtKey <= Qt::Key_Z) {
        return XK_a + static_cast<std::uint32_t>(qtKey - Qt::Key_A);
    }
    // Both number the other printable ASCII keys by their character code.
    if (qtKey >= Qt::Key_Space && qtKey <= Qt::Key_AsciiTilde) {
        return static_cast<std::uint32_t>(qtKey);
    }
    if (qtKey >= Qt::Key_F1 && qtKey <= Qt::Key_F35) {
        return XK_F1 + static_cast<std::uint32_t>(qtKey - Qt::Key_F1);
    }
    switch (qtKey) {
    case Qt::Key_Return:
        return XK_Return;
    case Qt::Key_Tab:
        return XK_Tab;
    case Qt::Key_Backspace:
        return XK_BackSpace;
    case Qt::Key_Escape:
        return XK_Escape;
    case Qt::Key_Delete:
        return XK_Delete;
    case Qt::Key_Insert:
        return XK_Insert;
    case Qt::Key_Clear:
        return XK_Clear;
    case Qt::Key_Home:
        return XK_Home;
    case Qt::Key_End:
        return XK_End;
    case Qt::Key_PageUp:
        return XK_Prior;
    case Qt::Key_PageDown:
        return XK_Next;
    case Qt::Key_Left:
        return XK_Left;
    case Qt::Key_Right:
        return XK_Right;
    case Qt::Key_Up:
        return XK_Up;
    case Qt::Key_Down:
        return XK_Down;
    default:
        return std::nullopt;
    }
}

} // namespace X11KeySymbols
