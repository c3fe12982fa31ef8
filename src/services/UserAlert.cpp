#include "UserAlert.h"

#include "utilities/Logger.h"

#include <QCoreApplication>
#include <QMetaObject>

#include <mutex>

namespace UserAlerts {
namespace {

std::mutex presenterMutex;

Presenter& presenter() {
    static Presenter current;
    return current;
}

void present(const UserAlert& alert) {
    Presenter show;
    {
        std::lock_guard lock(presenterMutex);
        show = presenter();
    }
    if (!show) {
        qCCritical(Log::general(), "No way to show the alert \"%s\"",
                   qUtf8Printable(alert.messageText));
        return;
    }
    show(alert);
}

} // namespace

void setPresenter(Presenter newPresenter) {
    std::lock_guard lock(presenterMutex);
    presenter() = std::move(newPresenter);
}

void post(const UserAlert& alert) {
    QCoreApplication* application = QCoreApplication::instance();
    if (application == nullptr) {
        qCCritical(Log::general(), "No way to show the alert \"%s\"",
                   qUtf8Printable(alert.messageText));
        return;
    }
    QMetaObject::invokeMethod(
        application, [alert] { present(alert); }, Qt::QueuedConnection);
}

} // namespace UserAlerts
