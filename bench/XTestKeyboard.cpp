#include "XTestKeyboard.h"

#include <QTest>

#include <X11/keysym.h>
#include <xcb/xtest.h>

#include <cstdint>
#include <cstdlib>
#include <iterator>

XTestKeyboard::XTestKeyboard()
    : m_connection(xcb_connect(nullptr, nullptr)) {
    m_root = xcb_setup_roots_iterator(xcb_get_setup(m_connection)).data->root;
}

XTestKeyboard::~XTestKeyboard() {
    xcb_disconnect(m_connection);
}

xcb_keycode_t XTestKeyboard::keyCode(xcb_keysym_t symbol) const {
    const xcb_setup_t* setup = xcb_get_setup(m_connection);
    const auto count = static_cast<std::uint8_t>(setup->max_keycode - setup->min_keycode + 1);
    auto* reply = xcb_get_keyboard_mapping_reply(
        m_connection, xcb_get_keyboard_mapping(m_connection, setup->min_keycode, count), nullptr);
    xcb_keycode_t found = 0;
    const xcb_keysym_t* symbols = xcb_get_keyboard_mapping_keysyms(reply);
    for (int i = 0; i < xcb_get_keyboard_mapping_keysyms_length(reply) && found == 0; ++i) {
        if (symbols[i] == symbol) {
            found = static_cast<xcb_keycode_t>(setup->min_keycode + i / reply->keysyms_per_keycode);
        }
    }
    std::free(reply);
    return found;
}

void XTestKeyboard::pressWithControlAltSuper(xcb_keysym_t symbol, int ms) {
    const xcb_keycode_t keys[] = {keyCode(XK_Control_L), keyCode(XK_Alt_L), keyCode(XK_Super_L),
                                  keyCode(symbol)};
    for (const xcb_keycode_t key : keys) {
        xcb_test_fake_input(m_connection, XCB_KEY_PRESS, key, XCB_CURRENT_TIME, m_root, 0, 0, 0);
    }
    xcb_flush(m_connection);
    if (ms > 0) {
        QTest::qWait(ms);
    }
    for (auto key = std::rbegin(keys); key != std::rend(keys); ++key) {
        xcb_test_fake_input(m_connection, XCB_KEY_RELEASE, *key, XCB_CURRENT_TIME, m_root, 0, 0, 0);
    }
    xcb_flush(m_connection);
}

bool XTestKeyboard::isGrabbedElsewhere(xcb_keysym_t symbol) {
    xcb_generic_error_t* error = xcb_request_check(
        m_connection,
        xcb_grab_key_checked(m_connection, 0, m_root, XCB_MOD_MASK_ANY, keyCode(symbol),
                             XCB_GRAB_MODE_ASYNC, XCB_GRAB_MODE_ASYNC));
    const bool refused = error != nullptr;
    std::free(error);
    if (!refused) {
        xcb_ungrab_key(m_connection, keyCode(symbol), m_root, XCB_MOD_MASK_ANY);
        xcb_flush(m_connection);
    }
    return refused;
}
