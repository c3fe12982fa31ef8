#include "views/tray/TrayPanelWindow.h"

#include "views/tray/TrayPanelView.h"
#include "views/widgets/Style.h"

#include <QGuiApplication>
#include <QKeyEvent>
#include <QPainter>
#include <QScreen>
#include <QVBoxLayout>
#include <QWindow>

#include <utility>

TrayPanelWindow::TrayPanelWindow(TrayPanelView* view, Kind kind, QWidget* parent)
    : QWidget(parent, (kind == Kind::popup ? Qt::Popup : Qt::Tool) | Qt::FramelessWindowHint |
                          Qt::NoDropShadowWindowHint)
    , m_view(view) {
    setObjectName(QStringLiteral("trayPanelWindow"));
    setWindowTitle(QStringLiteral("Scrubline"));
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(1, 1, 1, 1);
    layout->addWidget(view);
    connect(view, &TrayPanelView::contentChanged, this, [this] {
        if (isVisible()) {
            fitContent();
        }
    });
    connect(qGuiApp, &QGuiApplication::focusWindowChanged, this, &TrayPanelWindow::followFocus);
}

void TrayPanelWindow::followFocus(QWindow* focus) {
    if (focus != nullptr && focus == windowHandle()) {
        m_hadFocus = true;
        return;
    }
    // The focus went to another program (a click elsewhere) or to another window of this one.
    // The toolkit closes a pop-up by itself then; a window of its own (Wayland) would stay.
    if (std::exchange(m_hadFocus, false) && isVisible()) {
        close();
    }
}

void TrayPanelWindow::fitContent() {
    const QMargins margins = layout()->contentsMargins();
    const QSize content = m_view->fittingSize();
    const QSize size(content.width() + margins.left() + margins.right(),
                     content.height() + margins.top() + margins.bottom());
    setFixedSize(size);
    if (const QScreen* current = screen(); current != nullptr && isVisible()) {
        const QRect available = current->availableGeometry();
        QRect frame(pos(), size);
        if (!available.contains(frame)) {
            frame.moveTop(
                qMax(available.top(), qMin(frame.top(), available.bottom() + 1 - size.height())));
            move(frame.topLeft());
        }
    }
}

void TrayPanelWindow::openAt(const QRect& anchor) {
    fitContent();
    const QScreen* screen = QGuiApplication::screenAt(anchor.center());
    if (screen == nullptr) {
        screen = QGuiApplication::primaryScreen();
    }
    if (screen != nullptr) {
        move(placement(size(), anchor, screen->availableGeometry()));
    }
    show();
    raise();
    activateWindow();
}

QPoint TrayPanelWindow::placement(const QSize& size, const QRect& anchor, const QRect& available) {
    int x = anchor.center().x() - size.width() / 2;
    // Below an anchor in the upper half of the screen (a top panel), above one in the lower.
    int y = anchor.center().y() < available.center().y() ? anchor.bottom() + 1 + gap
                                                         : anchor.top() - gap - size.height();
    x = qBound(available.left(), x, qMax(available.left(), available.right() + 1 - size.width()));
    y = qBound(available.top(), y, qMax(available.top(), available.bottom() + 1 - size.height()));
    return {x, y};
}

void TrayPanelWindow::changeEvent(QEvent* event) {
    QWidget::changeEvent(event);
    if (event->type() == QEvent::ActivationChange && isVisible() && !isActiveWindow() &&
        QGuiApplication::focusWindow() != nullptr) {
        // Another window of the program took the focus.
        close();
    }
}

void TrayPanelWindow::keyPressEvent(QKeyEvent* event) {
    if (event->key() == Qt::Key_Escape) {
        close();
        return;
    }
    QWidget::keyPressEvent(event);
}

void TrayPanelWindow::hideEvent(QHideEvent* event) {
    QWidget::hideEvent(event);
    m_hadFocus = false;
    m_sinceClosed.start();
}

void TrayPanelWindow::paintEvent(QPaintEvent* /*event*/) {
    QPainter painter(this);
    painter.fillRect(rect(), palette().color(QPalette::Window));
    painter.setPen(Style::separator(palette()));
    painter.drawRect(rect().adjusted(0, 0, -1, -1));
}
