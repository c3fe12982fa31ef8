#include "LinuxTrayAvailability.h"

LinuxTrayAvailability::LinuxTrayAvailability(QDBusConnection bus, bool x11, QObject* parent)
    : TrayAvailability(parent)
    , m_statusNotifier(std::move(bus)) {
    connect(&m_statusNotifier, &StatusNotifierHostWatch::stateChanged, this,
            &LinuxTrayAvailability::update);
    if (x11) {
        m_xembed = std::make_unique<XEmbedTrayWatch>();
        connect(m_xembed.get(), &XEmbedTrayWatch::presenceChanged, this,
                &LinuxTrayAvailability::update);
    }
    m_state = combined();
}

TrayAvailability::State LinuxTrayAvailability::combined() const {
    // An XEmbed tray is known at once; the bus answers a moment later.
    if (m_statusNotifier.state() == State::present || (m_xembed && m_xembed->isPresent())) {
        return State::present;
    }
    return m_statusNotifier.state();
}

void LinuxTrayAvailability::update() {
    const State state = combined();
    if (state != m_state) {
        m_state = state;
        emit stateChanged(state);
    }
}
