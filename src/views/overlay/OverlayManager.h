#pragma once

#include "models/SeekFeedback.h"

#include <QObject>
#include <QPropertyAnimation>

#include <memory>

class AppSettings;
class OverlayPanel;
class DesktopIntegration;
class MediaStatus;
class SymbolImages;

// Shows the overlay card while the media status publishes a feedback: it fades in on
// every feedback and fades out when the feedback clears. The steps of a hotkey held down are
// one card that stays and counts up, rather than a blink per step. GUI thread only.
class OverlayManager : public QObject {
    Q_OBJECT

public:
    static constexpr int fadeInMs = 150;
    static constexpr int fadeOutMs = 200;

    // `desktop`, when given, puts the overlay on every virtual desktop; `symbolImages`, when
    // given, are the platform's drawings of the card's symbol, and outlive the manager.
    // `naming`: how the cards name the apps.
    OverlayManager(MediaStatus& status, AppSettings& settings, MediaApp::BrowserNaming naming,
                   DesktopIntegration* desktop = nullptr,
                   const SymbolImages* symbolImages = nullptr, QObject* parent = nullptr);
    ~OverlayManager() override;

    // Starts following the status's feedback; a second call replaces the first.
    void start();

    // The window, once a card has been shown; null before.
    OverlayPanel* panel() const { return m_panel.get(); }

private:
    void show(const SeekFeedback& feedback);
    void hide();

    // Puts the window in the middle of the main screen's free area.
    void centre();
    // Whether the card on screen, opaque or fading in, is a step of this hold.
    bool showsHold(const std::optional<HoldProgress>& hold) const;

    MediaStatus& m_status;
    AppSettings& m_settings;
    DesktopIntegration* m_desktop;
    const SymbolImages* m_symbolImages;
    std::unique_ptr<OverlayPanel> m_panel;
    QPropertyAnimation m_fade;
    QMetaObject::Connection m_subscription;
    // The hold whose steps the card shows, if it shows one.
    QUuid m_shownHold;
    MediaApp::BrowserNaming m_naming;
};
