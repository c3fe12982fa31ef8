#pragma once

#include <QWidget>

class OverlayView;
class QGraphicsOpacityEffect;

// The overlay's floating window: never focused, never clicked, above ordinary windows, on
// every desktop. Holds one card at a time, with room around it for the card's shadow.
class OverlayPanel : public QWidget {
    Q_OBJECT
    // How far the card, shadow and all, has faded in: 0 unseen, 1 whole. Drawn by the program
    // rather than asked of the window system, which under Wayland cannot fade a window.
    Q_PROPERTY(qreal fade READ fade WRITE setFade NOTIFY fadeChanged)

public:
    // Room for the card's shadow on every side, so that centring the window centres the card.
    static constexpr int shadowMargin = 12;

    explicit OverlayPanel(QWidget* parent = nullptr);

    OverlayView* card() const { return m_card; }
    // Replaces the card shown and sizes the window to the new one.
    void setCard(OverlayView* card);

    qreal fade() const;
    void setFade(qreal fade);

signals:
    void fadeChanged(qreal fade);

private:
    // Between the window and the card, so that the fade takes in the card's shadow, which is
    // the card's own effect.
    QWidget* m_fader = nullptr;
    QGraphicsOpacityEffect* m_fadeEffect = nullptr;
    OverlayView* m_card = nullptr;
};
