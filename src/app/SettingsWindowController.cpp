#include "SettingsWindowController.h"

#include "platform/DesktopIntegration.h"
#include "views/settings/SettingsView.h"

#include <QApplication>
#include <QKeyEvent>
#include <QTimer>

SettingsWindowController::SettingsWindowController(Factory factory, DesktopIntegration& desktop,
                                                   QObject* parent)
    : QObject(parent)
    , m_factory(std::move(factory))
    , m_desktop(desktop) {
    // Sees every key and window event of the program before its target does.
    qApp->installEventFilter(this);
}

SettingsWindowController::~SettingsWindowController() {
    qApp->removeEventFilter(this);
    delete m_window.data();
}

void SettingsWindowController::showSettingsWindow() {
    if (m_window == nullptr) {
        m_window = m_factory();
        m_window->setAttribute(Qt::WA_DeleteOnClose);
        m_window->restoreSelectedTab();
        m_window->show();
    } else if (m_window->isMinimized()) {
        m_window->showNormal();
    }
    m_window->raise();
    m_window->activateWindow();
}

bool SettingsWindowController::isSettingsWindow(const QObject* object) const {
    return m_window != nullptr && object == m_window.data();
}

bool SettingsWindowController::eventFilter(QObject* watched, QEvent* event) {
    switch (event->type()) {
    case QEvent::KeyPress: {
        // Control here is Command on macOS, where the toolkit swaps the two.
        const auto* key = static_cast<QKeyEvent*>(event);
        if (key->key() == Qt::Key_Comma && key->modifiers().testFlag(Qt::ControlModifier)) {
            showSettingsWindow();
            return true;
        }
        break;
    }
    case QEvent::WindowActivate:
        if (isSettingsWindow(watched)) {
            windowDidBecomeKey(*m_window);
        }
        break;
    case QEvent::Close:
        if (isSettingsWindow(watched)) {
            windowWillClose(*m_window);
        }
        break;
    default:
        break;
    }
    return QObject::eventFilter(watched, event);
}

void SettingsWindowController::windowDidBecomeKey(QWidget& window) {
    m_desktop.setRegularActivation(true);
    const auto handle = static_cast<std::uintptr_t>(window.winId());
    m_desktop.setFloating(handle, true);
    window.raise();
    // Above other programs' windows as it opens, then stacked like any other window.
    QTimer::singleShot(floatingMs, Qt::PreciseTimer, &window,
                       [this, handle] { m_desktop.setFloating(handle, false); });
}

void SettingsWindowController::windowWillClose(QWidget& /*window*/) {
    m_desktop.setRegularActivation(false);
}
