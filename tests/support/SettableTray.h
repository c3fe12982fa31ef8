#pragma once

#include "platform/TrayAvailability.h"

// A desktop's tray as the test says: there from the start unless told otherwise, and
// announced when set.
class SettableTray final : public TrayAvailability {
public:
    explicit SettableTray(State state = State::present)
        : m_state(state) {}

    State state() const override { return m_state; }

    void set(State state) {
        if (state != m_state) {
            m_state = state;
            emit stateChanged(state);
        }
    }

private:
    State m_state;
};
