#include "OtherXClient.h"

#include <cstdlib>

OtherXClient::OtherXClient()
    : m_connection(xcb_connect(nullptr, nullptr)) {
    m_root = xcb_setup_roots_iterator(xcb_get_setup(m_connection)).data->root;
}

OtherXClient::~OtherXClient() {
    xcb_disconnect(m_connection);
}

xcb_keycode_t OtherXClient::keyFor(xcb_keysym_t symbol) const {
    const xcb_setup_t* setup = xcb_get_setup(m_connection);
    const auto count = static_cast<std::uint8_t>(setup->max_keycode - setup->min_keycode + 1);
    auto* mapping = xcb_get_keyboard_mapping_reply(
        m_connection, xcb_get_keyboard_mapping(m_connection, setup->min_keycode, count), nullptr);
    if (mapping == nullptr) {
        return 0;
    }
    const xcb_keysym_t* symbols = xcb_get_keyboard_mapping_keysyms(mapping);
    xcb_keycode_t key = 0;
    for (int i = 0; i < xcb_get_keyboard_mapping_keysyms_length(mapping) && key == 0; ++i) {
        if (symbols[i] == symbol) {
            key = static_cast<xcb_keycode_t>(setup->min_keycode + i / mapping->keysyms_per_keycode);
        }
    }
    std::free(mapping);
    return key;
}

bool OtherXClient::grab(xcb_keysym_t symbol, std::uint16_t modifiers) {
    xcb_generic_error_t* error = xcb_request_check(
        m_connection, xcb_grab_key_checked(m_connection, 0, m_root, modifiers, keyFor(symbol),
                                           XCB_GRAB_MODE_ASYNC, XCB_GRAB_MODE_ASYNC));
    const bool granted = error == nullptr;
    std::free(error);
    return granted;
}

void OtherXClient::release(xcb_keysym_t symbol, std::uint16_t modifiers) {
    xcb_ungrab_key(m_connection, keyFor(symbol), m_root, modifiers);
    xcb_flush(m_connection);
}

bool OtherXClient::heldElsewhere(xcb_keysym_t symbol, std::uint16_t modifiers) {
    if (!grab(symbol, modifiers)) {
        return true;
    }
    release(symbol, modifiers);
    return false;
}
