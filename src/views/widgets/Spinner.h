#pragma once

#include <QTimer>
#include <QWidget>

// A small indeterminate progress indicator: an arc that turns while the widget is shown.
class Spinner : public QWidget {
    Q_OBJECT

public:
    explicit Spinner(int pixelSize = 14, QWidget* parent = nullptr);

    QSize sizeHint() const override { return {m_pixelSize, m_pixelSize}; }
    QSize minimumSizeHint() const override { return sizeHint(); }

protected:
    void showEvent(QShowEvent* event) override;
    void hideEvent(QHideEvent* event) override;
    void paintEvent(QPaintEvent* event) override;

private:
    int m_pixelSize;
    int m_angle = 0;
    QTimer m_turn;
};
