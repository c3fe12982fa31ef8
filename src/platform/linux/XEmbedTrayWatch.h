#pragma once

#include <QObject>

#include <memory>

#include <xcb/xcb.h>

class QSocketNotifier;

// The X11 system tray of the display's default screen, as XEmbed trays (trayer, stalonetray,
// the panels of Xfce, LXDE, MATE) run it: present while some client owns the selection
// _NET_SYSTEM_TRAY_S<screen>. A tray that starts says so with a MANAGER client message on the
// root window; one that ends destroys the window that owned the selection. Read on an X
// connection of its own, woken only by the server's events, so that the toolkit's own event
// masks on the root window stay as it set them.
class XEmbedTrayWatch : public QObject {
    Q_OBJECT

public:
    explicit XEmbedTrayWatch(QObject* parent = nullptr);
    ~XEmbedTrayWatch() override;
    XEmbedTrayWatch(const XEmbedTrayWatch&) = delete;
    XEmbedTrayWatch& operator=(const XEmbedTrayWatch&) = delete;

    bool isPresent() const { return m_owner != XCB_WINDOW_NONE; }

signals:
    void presenceChanged(bool present);

private:
    xcb_atom_t internAtom(const char* name) const;
    void readEvents();
    void handle(const xcb_generic_event_t* event);
    // Finds the selection's owner now and follows its end.
    void lookForTray();
    void stop();

    xcb_connection_t* m_connection = nullptr;
    std::unique_ptr<QSocketNotifier> m_notifier;
    xcb_window_t m_root = XCB_WINDOW_NONE;
    xcb_atom_t m_selection = XCB_ATOM_NONE;
    xcb_atom_t m_manager = XCB_ATOM_NONE;
    xcb_window_t m_owner = XCB_WINDOW_NONE;
};
