#include "LogCapture.h"

#include <QMutex>

#include <algorithm>

namespace {

QMutex mutex;
QList<LogCapture::Entry> recorded;
QtMessageHandler forwardTo = nullptr;

} // namespace

LogCapture::LogCapture() {
    QMutexLocker lock(&mutex);
    recorded.clear();
    m_previous = qInstallMessageHandler(&LogCapture::handler);
    forwardTo = m_previous;
}

LogCapture::~LogCapture() {
    qInstallMessageHandler(m_previous);
}

void LogCapture::handler(QtMsgType type, const QMessageLogContext& context,
                         const QString& message) {
    {
        QMutexLocker lock(&mutex);
        recorded.append(
            {QString::fromLatin1(context.category ? context.category : ""), type, message});
    }
    if (forwardTo != nullptr) {
        forwardTo(type, context, message);
    }
}

QList<LogCapture::Entry> LogCapture::entries() const {
    QMutexLocker lock(&mutex);
    return recorded;
}

int LogCapture::count(const QString& category, QtMsgType type, const QString& message) const {
    QMutexLocker lock(&mutex);
    return static_cast<int>(std::count_if(recorded.cbegin(), recorded.cend(), [&](const Entry& e) {
        return e.category == category && e.type == type && e.message == message;
    }));
}

void LogCapture::clear() {
    QMutexLocker lock(&mutex);
    recorded.clear();
}

int LogCapture::countContaining(const QString& text) const {
    int found = 0;
    for (const Entry& entry : entries()) {
        found += entry.message.contains(text) ? 1 : 0;
    }
    return found;
}
