#pragma once

#include <QObject>

#include <memory>

class LoginItem;

// The one thing that switches the program's login item, and the one that tells whether the
// desktop really starts the program at login. Failures are logged, never shown: the switch in
// the settings then simply shows the state the desktop kept.
class LoginItemController : public QObject {
    Q_OBJECT

public:
    // Without an item (a system that has none) every switch only logs an error.
    explicit LoginItemController(std::unique_ptr<LoginItem> item, QObject* parent = nullptr);
    ~LoginItemController() override;

    // Asked of the desktop each time, not remembered.
    bool isEnabled() const;
    // Registers or unregisters the program, then reads the state back; answers it.
    bool setEnabled(bool enabled);

signals:
    // After each switch, with the state read back, whether or not it changed.
    void switched(bool enabled);

private:
    std::unique_ptr<LoginItem> m_item;
};
