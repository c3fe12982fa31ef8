#include "XEmbedTrayWatch.h"

#include "utilities/Logger.h"

#include <QByteArray>
#include <QSocketNotifier>

#include <cstdlib>
#include <cstring>

namespace {

struct FreeDeleter {
    void operator()(void* pointer) const { std::free(pointer); }
};
template <class Reply>
using ReplyPtr = std::unique_ptr<Reply, FreeDeleter>;

} // namespace

XEmbedTrayWatch::XEmbedTrayWatch(QObject* parent)
    : QObject(parent) {
    int screenNumber = 0;
    m_connection = xcb_connect(nullptr, &screenNumber);
    if (xcb_connection_has_error(m_connection) != 0) {
        stop();
        return;
    }
    xcb_screen_iterator_t screens = xcb_setup_roots_iterator(xcb_get_setup(m_connection));
    for (int i = 0; i < screenNumber && screens.rem > 0; ++i) {
        xcb_screen_next(&screens);
    }
    if (screens.rem == 0) {
        stop();
        return;
    }
    m_root = screens.data->root;
    m_selection =
        internAtom(QByteArray("_NET_SYSTEM_TRAY_S" + QByteArray::number(screenNumber)).constData());
    m_manager = internAtom("MANAGER");
    // The MANAGER message goes to the root window's structure listeners.
    const std::uint32_t mask = XCB_EVENT_MASK_STRUCTURE_NOTIFY;
    xcb_change_window_attributes(m_connection, m_root, XCB_CW_EVENT_MASK, &mask);
    m_notifier = std::make_unique<QSocketNotifier>(xcb_get_file_descriptor(m_connection),
                                                   QSocketNotifier::Read);
    connect(m_notifier.get(), &QSocketNotifier::activated, this, &XEmbedTrayWatch::readEvents);
    lookForTray();
    // What arrived while the replies were awaited sits in the connection's queue, where the
    // socket's notifier does not see it.
    readEvents();
}

XEmbedTrayWatch::~XEmbedTrayWatch() {
    stop();
}

void XEmbedTrayWatch::stop() {
    m_notifier.reset();
    if (m_connection != nullptr) {
        xcb_disconnect(m_connection);
        m_connection = nullptr;
    }
}

xcb_atom_t XEmbedTrayWatch::internAtom(const char* name) const {
    const ReplyPtr<xcb_intern_atom_reply_t> reply(xcb_intern_atom_reply(
        m_connection,
        xcb_intern_atom(m_connection, 0, static_cast<std::uint16_t>(std::strlen(name)), name),
        nullptr));
    return reply ? reply->atom : xcb_atom_t{XCB_ATOM_NONE};
}

void XEmbedTrayWatch::lookForTray() {
    const bool before = isPresent();
    // Listening on the owner races with its end: ask again after, until both agree.
    for (int attempt = 0; attempt < 3; ++attempt) {
        const ReplyPtr<xcb_get_selection_owner_reply_t> reply(xcb_get_selection_owner_reply(
            m_connection, xcb_get_selection_owner(m_connection, m_selection), nullptr));
        const xcb_window_t owner = reply ? reply->owner : xcb_window_t{XCB_WINDOW_NONE};
        if (owner == XCB_WINDOW_NONE || owner == m_owner) {
            m_owner = owner;
            break;
        }
        const std::uint32_t mask = XCB_EVENT_MASK_STRUCTURE_NOTIFY;
        xcb_change_window_attributes(m_connection, owner, XCB_CW_EVENT_MASK, &mask);
        m_owner = owner;
    }
    if (before != isPresent()) {
        emit presenceChanged(isPresent());
    }
}

void XEmbedTrayWatch::readEvents() {
    // Queued events first, then the socket's.
    while (m_connection != nullptr) {
        xcb_generic_event_t* event = xcb_poll_for_event(m_connection);
        if (event == nullptr) {
            break;
        }
        handle(event);
        std::free(event);
    }
    if (m_connection != nullptr && xcb_connection_has_error(m_connection) != 0) {
        // The display went away, and with it every tray on it.
        qCWarning(Log::general(), "The X11 connection watching for a system tray broke");
        const bool wasPresent = isPresent();
        m_owner = XCB_WINDOW_NONE;
        stop();
        if (wasPresent) {
            emit presenceChanged(false);
        }
    }
}

void XEmbedTrayWatch::handle(const xcb_generic_event_t* event) {
    switch (event->response_type & ~0x80) {
    case XCB_CLIENT_MESSAGE: {
        const auto* message = reinterpret_cast<const xcb_client_message_event_t*>(event);
        if (message->type == m_manager && message->format == 32 &&
            message->data.data32[1] == m_selection) {
            lookForTray();
        }
        break;
    }
    case XCB_DESTROY_NOTIFY: {
        const auto* destroyed = reinterpret_cast<const xcb_destroy_notify_event_t*>(event);
        if (destroyed->window == m_owner && m_owner != XCB_WINDOW_NONE) {
            lookForTray();
        }
        break;
    }
    default:
        break;
    }
}
