#pragma once

#include <QWidget>

class HUDOverlayView;

// The overlay's floating window: never focused, never clicked, above ordinary windows, on
// every desktop. Holds one card at a time, with room around it for the card's shadow.
class HUDPanel : public QWidget {
    Q_OBJECT

public:
    // Room for the card's shadow on every side, so that centring the window centres the card.
    static constexpr int shadowMargin = 12;

    explicit HUDPanel(QWidget* parent = nullptr);

    HUDOverlayView* card() const { return m_card; }
    // Replaces the card shown and sizes the window to the new one.
    void setCard(HUDOverlayView* card);

private:
    HUDOverlayView* m_card = nullptr;
};
