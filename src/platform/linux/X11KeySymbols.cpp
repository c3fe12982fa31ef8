#include "X11KeySymbols.h"

#include "models/KeyTable.h"

#include <X11/keysym.h>

namespace X11KeySymbols {

std::optional<std::uint32_t> forKeyCode(std::uint16_t keyCode) {
    const auto key = KeyTable::forKeyCode(keyCode);
    return key ? forQtKey(key->qtKey) : std::nullopt;
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
