#pragma once

#include "services/SeekFeedback.h"

#include <QObject>
#include <QPropertyAnimation>

#include <memory>

class AppSettings;
class HUDPanel;
class MediaController;

// Shows the overlay card while the media controller publishes a feedback: it fades in on
// every feedback and fades out when the feedback clears. GUI thread only.
class HUDOverlayManager : public QObject {
    Q_OBJECT

public:
    static constexpr int fadeInMs = 150;
    static constexpr int fadeOutMs = 200;

    // Follows the shared media controller and settings; made on first use, never destroyed.
    static HUDOverlayManager& shared();

    HUDOverlayManager(MediaController& controller, AppSettings& settings,
                      QObject* parent = nullptr);
    ~HUDOverlayManager() override;

    // Starts following the controller's feedback; a second call replaces the first.
    void start();

    // The window, once a card has been shown; null before.
    HUDPanel* panel() const { return m_panel.get(); }

private:
    void show(const SeekFeedback& feedback);
    void hide();

    MediaController& m_controller;
    AppSettings& m_settings;
    std::unique_ptr<HUDPanel> m_panel;
    QPropertyAnimation m_fade;
    QMetaObject::Connection m_subscription;
};
