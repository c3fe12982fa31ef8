#include "OwnerProgramLookup.h"

#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QFileInfo>
#include <QRegularExpression>

namespace OwnerProgram {
namespace {

// Long enough for a busy bus daemon; a player met meanwhile is classified once it answers.
constexpr int lookupTimeoutMs = 5000;

QString programOfProcess(uint pid) {
    QString program = QFileInfo(QStringLiteral("/proc/%1/exe").arg(pid)).symLinkTarget();
    // A program replaced by an upgrade while it runs reads as ".../chromium (deleted)".
    static const QRegularExpression deleted(QStringLiteral(" \\(deleted\\)$"));
    program.remove(deleted);
    return program;
}

} // namespace

OwnerProgramLookup askingBus(QDBusConnection bus) {
    return [bus](const QString& uniqueName, QObject* context,
                 std::function<void(const QString&)> answer) {
        QDBusMessage call = QDBusMessage::createMethodCall(
            QStringLiteral("org.freedesktop.DBus"), QStringLiteral("/org/freedesktop/DBus"),
            QStringLiteral("org.freedesktop.DBus"), QStringLiteral("GetConnectionUnixProcessID"));
        call << uniqueName;
        auto* watcher = new QDBusPendingCallWatcher(bus.asyncCall(call, lookupTimeoutMs), context);
        QObject::connect(watcher, &QDBusPendingCallWatcher::finished, context,
                         [answer = std::move(answer)](QDBusPendingCallWatcher* done) {
                             done->deleteLater();
                             const QDBusMessage reply = done->reply();
                             if (reply.type() != QDBusMessage::ReplyMessage ||
                                 reply.arguments().isEmpty()) {
                                 answer(QString());
                                 return;
                             }
                             answer(programOfProcess(reply.arguments().constFirst().toUInt()));
                         });
    };
}

} // namespace OwnerProgram
