#include "views/widgets/PaletteFollower.h"

#include <QEvent>
#include <QWidget>

PaletteFollower::PaletteFollower(QWidget& widget, std::function<void()> onChange)
    : QObject(&widget)
    , m_onChange(std::move(onChange)) {
    widget.installEventFilter(this);
}

void PaletteFollower::keepColor(QWidget& widget, QPalette::ColorRole target, Style::Role role) {
    Style::setColor(widget, target, role);
    new PaletteFollower(widget, [&widget, target, role] { Style::setColor(widget, target, role); });
}

bool PaletteFollower::eventFilter(QObject* watched, QEvent* event) {
    switch (event->type()) {
    // The application palette is not listed: a widget takes it up after its filters have seen
    // the event, and says so with a palette change of its own.
    case QEvent::PaletteChange:
    case QEvent::StyleChange:
    // Moved under another widget, it may stand on other colours.
    case QEvent::ParentChange:
        if (!m_applying) {
            m_applying = true;
            m_onChange();
            m_applying = false;
        }
        break;
    default:
        break;
    }
    return QObject::eventFilter(watched, event);
}
