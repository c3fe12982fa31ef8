#pragma once

#include "models/SeekFeedback.h"

#include <QWidget>

#include <cstdint>
#include <set>

// The overlay's card: the action's symbol above the player's name, on a rounded translucent
// ground with a soft shadow. While a hotkey is held, the plain arrow with the total so far
// under it, as the steps add up to no numbered symbol. Built afresh for every show.
class OverlayView : public QWidget {
    Q_OBJECT
    Q_PROPERTY(QString iconName READ iconName CONSTANT)
    Q_PROPERTY(QString playerName READ playerName CONSTANT)
    Q_PROPERTY(QString totalText READ totalText CONSTANT)

public:
    static constexpr int cornerRadius = 18;
    static constexpr int horizontalPadding = 32;
    static constexpr int verticalPadding = 24;
    static constexpr int spacing = 12;
    static constexpr qreal symbolPointSize = 36;
    static constexpr qreal namePointSize = 14;
    static constexpr qreal totalPointSize = 20;

    // `naming`: how the card names the app.
    OverlayView(const SeekFeedback& feedback, std::int64_t forwardSeconds,
                std::int64_t backwardSeconds, MediaApp::BrowserNaming naming,
                QWidget* parent = nullptr);

    const SeekFeedback& feedback() const { return m_feedback; }
    // The symbol shown: the numbered arrow of the first configured step where there is one.
    QString iconName() const;
    // The player acted on, by its own name where the app stands for many kinds of player.
    QString playerName() const { return m_feedback.shownName(m_naming); }
    // What a hotkey held down has come to so far, such as "+40s"; empty for a single step.
    QString totalText() const { return m_feedback.totalText(); }

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    SeekFeedback m_feedback;
    std::int64_t m_forwardSeconds;
    std::int64_t m_backwardSeconds;
    MediaApp::BrowserNaming m_naming;
};
