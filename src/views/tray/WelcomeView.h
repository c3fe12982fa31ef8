#pragma once

#include <QWidget>

#include <functional>

// The first-run content of the menu-bar panel: what the program does, the preset hotkeys, and
// one button to go on.
class WelcomeView : public QWidget {
    Q_OBJECT

public:
    // `hotkeysHint` names the preset hotkeys' modifiers as this desktop calls them.
    WelcomeView(const QString& hotkeysHint, std::function<void()> onDismiss,
                QWidget* parent = nullptr);

private:
    std::function<void()> m_onDismiss;
};
