#pragma once

#include <cstdint>

#include <xcb/xcb.h>

// Another program on the test's X display, with key grabs of its own: it can tell which key
// types a symbol under the layout now set, hold a combination, and find out whether somebody
// else holds one (tried as a grab, which the server refuses while another client holds it).
class OtherXClient {
public:
    OtherXClient();
    ~OtherXClient();
    OtherXClient(const OtherXClient&) = delete;
    OtherXClient& operator=(const OtherXClient&) = delete;

    // The server's key that yields `symbol` now; 0 when no key does.
    xcb_keycode_t keyFor(xcb_keysym_t symbol) const;
    // Grabs the key of `symbol` with exactly these modifiers; false when another client holds it.
    bool grab(xcb_keysym_t symbol, std::uint16_t modifiers);
    void release(xcb_keysym_t symbol, std::uint16_t modifiers);
    // Whether another client holds the key of `symbol` with these modifiers (any modifiers with
    // XCB_MOD_MASK_ANY); what it grabs to find out, it lets go of at once.
    bool heldElsewhere(xcb_keysym_t symbol, std::uint16_t modifiers);

private:
    xcb_connection_t* m_connection;
    xcb_window_t m_root = XCB_WINDOW_NONE;
};
