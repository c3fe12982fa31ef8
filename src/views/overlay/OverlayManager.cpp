#include "views/overlay/OverlayManager.h"

#include "core/MediaStatus.h"
#include "platform/DesktopIntegration.h"
#include "settings/AppSettings.h"
#include "views/overlay/OverlayPanel.h"
#include "views/overlay/OverlayView.h"
#include "views/widgets/SkipSymbols.h"
#include "views/widgets/Symbols.h"

#include <QGuiApplication>
#include <QScreen>

OverlayManager::OverlayManager(MediaStatus& status, AppSettings& settings,
                               MediaApp::BrowserNaming naming, DesktopIntegration* desktop,
                               const SymbolImages* symbolImages, QObject* parent)
    : QObject(parent)
    , m_status(status)
    , m_settings(settings)
    , m_desktop(desktop)
    , m_symbolImages(symbolImages)
    , m_naming(naming) {
    m_fade.setPropertyName("fade");
    connect(&m_fade, &QPropertyAnimation::finished, this, [this] {
        if (m_panel != nullptr && m_fade.endValue().toReal() == 0.0) {
            m_panel->hide();
        }
    });
}

OverlayManager::~OverlayManager() {
    m_fade.stop();
    m_fade.setTargetObject(nullptr);
}

void OverlayManager::start() {
    disconnect(m_subscription);
    // Each value is taken as published and handled once the current event is done, as the
    // card is a consequence of the change rather than part of it.
    m_subscription = connect(&m_status, &MediaStatus::seekFeedbackChanged, this, [this] {
        // Not an optional in the capture: GCC's optimiser then warns that it may be unset.
        if (const std::optional<SeekFeedback> feedback = m_status.seekFeedback()) {
            QMetaObject::invokeMethod(
                this, [this, shown = *feedback] { show(shown); }, Qt::QueuedConnection);
        } else {
            QMetaObject::invokeMethod(
                this, [this] { hide(); }, Qt::QueuedConnection);
        }
    });
}

void OverlayManager::show(const SeekFeedback& feedback) {
    if (!m_settings.showHUDOverlay()) {
        return;
    }
    const std::int64_t forward = SkipSymbols::wholeSeconds(m_settings.firstForwardSeconds());
    const std::int64_t backward = SkipSymbols::wholeSeconds(m_settings.firstBackwardSeconds());
    if (m_panel == nullptr) {
        m_panel = std::make_unique<OverlayPanel>();
        Symbols::provide(*m_panel, m_symbolImages);
        if (m_desktop != nullptr) {
            m_desktop->showOnEveryDesktop(static_cast<std::uintptr_t>(m_panel->winId()));
        }
        m_fade.setTargetObject(m_panel.get());
    }
    if (showsHold(feedback.hold)) {
        // The next step of the hold on show: the same card, counted up, without a blink. It
        // grows with the total, and stays in the middle.
        m_panel->setCard(new OverlayView(feedback, forward, backward, m_naming));
        centre();
        return;
    }
    m_shownHold = feedback.hold ? feedback.hold->hold : QUuid();
    m_panel->setCard(new OverlayView(feedback, forward, backward, m_naming));
    centre();
    // Every show fades in from nothing, also over a card still on screen, so that a quick
    // series of presses blinks once per press.
    m_fade.stop();
    m_panel->setFade(0.0);
    m_panel->show();
    m_panel->raise();
    m_fade.setDuration(fadeInMs);
    m_fade.setStartValue(0.0);
    m_fade.setEndValue(1.0);
    m_fade.start();
}

void OverlayManager::centre() {
    if (QScreen* screen = QGuiApplication::primaryScreen()) {
        QRect frame = m_panel->geometry();
        frame.moveCenter(screen->availableGeometry().center());
        m_panel->move(frame.topLeft());
    }
}

bool OverlayManager::showsHold(const std::optional<HoldProgress>& hold) const {
    const bool fadingOut =
        m_fade.state() == QAbstractAnimation::Running && m_fade.endValue().toReal() == 0.0;
    return hold && !m_shownHold.isNull() && hold->hold == m_shownHold && m_panel != nullptr &&
           m_panel->isVisible() && !fadingOut;
}

void OverlayManager::hide() {
    if (m_panel == nullptr || !m_panel->isVisible()) {
        return;
    }
    m_fade.stop();
    m_fade.setDuration(fadeOutMs);
    m_fade.setStartValue(m_panel->fade());
    m_fade.setEndValue(0.0);
    m_fade.start();
}
