#pragma once

#include "StatusNotifierHostWatch.h"
#include "XEmbedTrayWatch.h"
#include "platform/TrayAvailability.h"

#include <QDBusConnection>

#include <memory>

// A tray on a Linux desktop: a StatusNotifierItem host on the session bus (KDE, GNOME with
// the AppIndicator extension, waybar, and every Wayland desktop with a tray), or, in an X11
// session, an XEmbed tray as well. The toolkit talks to the former where it finds one when the
// icon is made, and to the latter otherwise.
class LinuxTrayAvailability final : public TrayAvailability {
    Q_OBJECT

public:
    // Watches for an XEmbed tray as well when `x11` is set: only a program on the X11 platform
    // can dock into one.
    LinuxTrayAvailability(QDBusConnection bus, bool x11, QObject* parent = nullptr);

    State state() const override { return m_state; }

private:
    State combined() const;
    void update();

    StatusNotifierHostWatch m_statusNotifier;
    std::unique_ptr<XEmbedTrayWatch> m_xembed;
    State m_state = State::unknown;
};
