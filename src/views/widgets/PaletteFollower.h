#pragma once

#include "views/widgets/Style.h"

#include <QObject>

#include <functional>

class QWidget;

// Calls back whenever a widget's palette or style changes, as a switch between light and dark
// does, so that a view which works colours out of the palette works them out again. It is the
// widget's child and lives as long as it. GUI thread only.
class PaletteFollower : public QObject {
    Q_OBJECT

public:
    // `onChange` runs after each change; a change it makes to the widget's own palette does not
    // call it again.
    PaletteFollower(QWidget& widget, std::function<void()> onChange);

    // Gives `widget`'s colour `target` the colour of `role`, now and after every change.
    static void keepColor(QWidget& widget, QPalette::ColorRole target, Style::Role role);

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    std::function<void()> m_onChange;
    bool m_applying = false;
};
