#pragma once

#include <QObject>

// Whether the desktop runs a tray that can show the program's icon, followed live: desktop
// panels often start after the programs of the session, and come and go. The toolkit settles
// once per process which kind of tray it talks to, when the first tray icon is made, so the
// icon is made only once this says a tray is there. Signals arrive on the GUI thread.
class TrayAvailability : public QObject {
    Q_OBJECT

public:
    // `unknown` lasts only until the first answer of the desktop, shortly after start.
    enum class State { unknown, absent, present };
    Q_ENUM(State)

    using QObject::QObject;

    virtual State state() const = 0;
    bool isAvailable() const { return state() == State::present; }

signals:
    // Sent on every change, the first answer included.
    void stateChanged(TrayAvailability::State state);
};
