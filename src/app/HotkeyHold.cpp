#include "HotkeyHold.h"

#include "utilities/Logger.h"

#include <QPointer>

HotkeyHold::HotkeyHold(MediaController& controller, QObject* parent)
    : QObject(parent)
    , m_controller(controller) {
    m_repeat.setTimerType(Qt::PreciseTimer);
    connect(&m_repeat, &QTimer::timeout, this, &HotkeyHold::repeatDue);
}

HotkeyHold::~HotkeyHold() {
    if (m_holding) {
        m_controller.setFeedbackHeld(false);
    }
}

void HotkeyHold::press(std::uint32_t id, double seconds, bool repeats) {
    if (m_holding) {
        release(m_id);
    }
    if (!repeats) {
        m_controller.enqueueSeek(seconds);
        return;
    }
    m_holding = true;
    m_id = id;
    m_seconds = seconds;
    m_hold = QUuid::createUuid();
    m_app.reset();
    m_steps = 0;
    m_total = 0;
    m_sent = 0;
    m_stepInFlight = false;
    m_repeatWaiting = false;
    m_controller.setFeedbackHeld(true);
    sendStep();
    m_repeat.setInterval(repeatDelayMs);
    m_repeat.start();
}

void HotkeyHold::release(std::uint32_t id) {
    if (!m_holding || id != m_id) {
        return;
    }
    m_holding = false;
    stopRepeating();
    m_controller.setFeedbackHeld(false);
    if (m_sent > 1) {
        qCInfo(Log::seek(), "Hotkey held for %d steps", m_sent);
    }
    emit holdEnded(m_steps, m_total);
}

void HotkeyHold::cancel() {
    if (m_holding) {
        release(m_id);
    }
}

void HotkeyHold::repeatDue() {
    // The pace is set from the first repeat on.
    m_repeat.setInterval(repeatIntervalMs);
    if (!m_stepInFlight) {
        sendStep();
    } else if (!m_repeatWaiting) {
        m_repeatWaiting = true;
    } else {
        emit repeatDropped();
    }
}

void HotkeyHold::sendStep() {
    m_stepInFlight = true;
    const int repeat = m_sent++;
    const HoldProgress progress{m_hold, m_total + m_seconds, m_steps + 1};
    QPointer<HotkeyHold> self(this);
    m_controller.enqueueHoldStep(m_seconds, m_app, progress,
                                 [self, hold = m_hold](const MediaController::Served& served) {
                                     if (self) {
                                         self->stepServed(hold, served);
                                     }
                                 });
    emit stepSent(repeat);
}

void HotkeyHold::stepServed(const QUuid& hold, const MediaController::Served& served) {
    if (hold != m_hold) {
        return; // a step of a hold that has since been replaced
    }
    m_stepInFlight = false;
    if (!served.acted) {
        // Nothing moved, and repeating would not change that: the hold seeks no more.
        stopRepeating();
        return;
    }
    ++m_steps;
    m_total += m_seconds;
    if (!m_app) {
        m_app = served.app;
    }
    if (m_repeatWaiting && m_holding) {
        m_repeatWaiting = false;
        sendStep();
    }
}

void HotkeyHold::stopRepeating() {
    m_repeat.stop();
    m_repeatWaiting = false;
}
