#pragma once

#include <QWidget>

#include <functional>

// The first-run content of the menu-bar panel: what the program does, the preset hotkeys, and
// one button to go on.
class WelcomeView : public QWidget {
    Q_OBJECT

public:
    explicit WelcomeView(std::function<void()> onDismiss, QWidget* parent = nullptr);

private:
    std::function<void()> m_onDismiss;
};
