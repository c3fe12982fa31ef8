#pragma once

#include <QWidget>

// A hairline across the panel, inset from both edges.
class Divider : public QWidget {
    Q_OBJECT

public:
    static constexpr int inset = 10;

    explicit Divider(QWidget* parent = nullptr);

    QSize sizeHint() const override { return {2 * inset + 1, 9}; }

protected:
    void paintEvent(QPaintEvent* event) override;
};
