#pragma once

#include "views/settings/SettingsView.h"

#include <QObject>
#include <QPointer>
#include <QString>

#include <functional>

class DesktopIntegration;
class QWidget;

// Opens the one settings window, and makes it behave as the window of a program that otherwise
// lives in the tray: Ctrl+comma (Command-comma on macOS) opens it from any window of the
// program, and while it is open the program is a regular one, its window briefly above others.
// GUI thread only.
class SettingsWindowController : public QObject {
    Q_OBJECT

public:
    // Makes a new settings window with its tabs; called each time the window opens anew.
    using Factory = std::function<SettingsView*()>;

    // How long a settings window that became active stays above other programs' windows.
    static constexpr int floatingMs = 500;

    SettingsWindowController(Factory factory, DesktopIntegration& desktop,
                             QObject* parent = nullptr);
    ~SettingsWindowController() override;

    // Opens the window on the tab last chosen, or raises and activates it when it is open.
    void showSettingsWindow();
    // The open window, or null.
    SettingsView* window() const { return m_window; }

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    // Only the window this controller made: any other, whatever its title, is left alone.
    bool isSettingsWindow(const QObject* object) const;
    void windowDidBecomeKey(QWidget& window);
    void windowWillClose(QWidget& window);

    Factory m_factory;
    DesktopIntegration& m_desktop;
    QPointer<SettingsView> m_window;
};
