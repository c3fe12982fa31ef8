#include "views/widgets/Divider.h"

#include "views/widgets/Style.h"

#include <QPainter>

Divider::Divider(QWidget* parent)
    : QWidget(parent) {
    setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Fixed);
}

void Divider::paintEvent(QPaintEvent* /*event*/) {
    QPainter painter(this);
    painter.fillRect(QRect(inset, height() / 2, width() - 2 * inset, 1),
                     Style::separator(palette()));
}
