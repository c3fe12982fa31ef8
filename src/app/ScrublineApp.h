#pragma once

#include <QObject>

#include <memory>

class AppDelegate;
class MenuBarExtra;

// The running program: the tray icon and its panel, and the hotkeys.
class ScrublineApp : public QObject {
    Q_OBJECT

public:
    explicit ScrublineApp(QObject* parent = nullptr);
    ~ScrublineApp() override;

private:
    std::unique_ptr<MenuBarExtra> m_menuBarExtra;
    std::unique_ptr<AppDelegate> m_appDelegate;
};
