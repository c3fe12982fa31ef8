#pragma once

#include <xcb/xcb.h>

// The keyboard of a bench's X server, pressed the way xdotool presses it: XTEST events.
class XTestKeyboard {
public:
    XTestKeyboard();
    ~XTestKeyboard();
    XTestKeyboard(const XTestKeyboard&) = delete;
    XTestKeyboard& operator=(const XTestKeyboard&) = delete;

    xcb_keycode_t keyCode(xcb_keysym_t symbol) const;
    // Control+Alt+Super and the key down, held for `ms` (0: a tap), and up again.
    void pressWithControlAltSuper(xcb_keysym_t symbol, int ms = 0);
    // Whether another client holds a grab on the key.
    bool isGrabbedElsewhere(xcb_keysym_t symbol);

private:
    xcb_connection_t* m_connection;
    xcb_window_t m_root = XCB_WINDOW_NONE;
};
