#include "MainThread.h"

#include <QCoreApplication>

namespace MainThread {

void post(QPointer<QObject> context, std::function<void()> work) {
    // The guard is only read on the GUI thread, where `context` lives and dies.
    QMetaObject::invokeMethod(
        QCoreApplication::instance(),
        [context = std::move(context), work = std::move(work)] {
            if (context) {
                work();
            }
        },
        Qt::QueuedConnection);
}

} // namespace MainThread
