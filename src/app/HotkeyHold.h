#pragma once

#include "core/MediaController.h"
#include "models/MediaApp.h"

#include <QObject>
#include <QTimer>
#include <QUuid>

#include <cstdint>
#include <optional>

// Turns a hotkey's press and release into seeks: the press seeks once, and a hotkey that stays
// down keeps seeking by its step at a steady pace of its own, whatever the keyboard repeats,
// until it comes up. The repeats go to the app the first step reached, never pile up behind a
// slow player (at most one waits while a step is under way, and the release drops it), and are
// shown as one running total. Lives on the GUI thread.
class HotkeyHold : public QObject {
    Q_OBJECT

public:
    // How long a hotkey is down before it starts repeating: longer than a tap, short enough
    // that holding on purpose answers at once.
    static constexpr int repeatDelayMs = 400;
    // The pace of the repeats: four steps a second, slow enough to follow.
    static constexpr int repeatIntervalMs = 250;

    explicit HotkeyHold(MediaController& controller, QObject* parent = nullptr);
    ~HotkeyHold() override;

    // The hotkey with this id went down. Seeks by `seconds` once, and, where `repeats`, again
    // and again while it stays down. A press while another hotkey is held ends that hold.
    void press(std::uint32_t id, double seconds, bool repeats);
    // The hotkey with this id came up; a release of any other does nothing.
    void release(std::uint32_t id);
    // Ends the hold under way, if any, as its release would: for when the hotkeys go away while
    // one is down, and its release may never come.
    void cancel();

    // Whether a hotkey is held down and may still repeat.
    bool isHolding() const { return m_holding; }
    // What the hold under way, or the last one, has come to: the steps that moved a player,
    // and their sum.
    int steps() const { return m_steps; }
    double totalSeconds() const { return m_total; }
    // Whether a repeat waits for the step under way.
    bool isRepeatWaiting() const { return m_repeatWaiting; }

signals:
    // A step was handed to the controller: the first (0) or a repeat (1, 2, ...).
    void stepSent(int repeat);
    // A repeat came due while one was already waiting, and was dropped.
    void repeatDropped();
    // The hotkey came up; `steps` moved the player by `totalSeconds` in all.
    void holdEnded(int steps, double totalSeconds);

private:
    void repeatDue();
    void sendStep();
    void stepServed(const QUuid& hold, const MediaController::Served& served);
    void stopRepeating();

    MediaController& m_controller;
    QTimer m_repeat;
    bool m_holding = false;
    std::uint32_t m_id = 0;
    double m_seconds = 0;
    QUuid m_hold;
    // The app the first step reached; repeats go to it alone.
    std::optional<MediaApp> m_app;
    int m_steps = 0;
    double m_total = 0;
    int m_sent = 0;
    bool m_stepInFlight = false;
    bool m_repeatWaiting = false;
};
