#pragma once

#include <QAbstractButton>

// One on/off preference as a row of a settings form: its label at the start, a sliding switch at
// the end. A click anywhere on the row, or Space, switches it.
class FormSwitch : public QAbstractButton {
    Q_OBJECT

public:
    static constexpr int trackWidth = 34;
    static constexpr int trackHeight = 20;

    explicit FormSwitch(const QString& text, QWidget* parent = nullptr);

    QSize sizeHint() const override;
    QSize minimumSizeHint() const override;

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    QRectF trackRect() const;
};
