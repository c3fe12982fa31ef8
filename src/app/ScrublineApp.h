#pragma once

#include <QMenu>
#include <QObject>
#include <QSystemTrayIcon>

#include <memory>

class AppDelegate;

// The running program: the tray icon and its menu.
class ScrublineApp : public QObject {
    Q_OBJECT

public:
    explicit ScrublineApp(QObject* parent = nullptr);
    ~ScrublineApp() override;

private:
    QMenu m_menu;
    QSystemTrayIcon m_trayIcon;
    std::unique_ptr<AppDelegate> m_appDelegate;
};
