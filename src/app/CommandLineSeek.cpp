#include "CommandLineSeek.h"

#include "MediaStack.h"

#include <QCoreApplication>
#include <QEventLoop>
#include <QLoggingCategory>

namespace CommandLineSeek {

MediaController::Served run(double seconds) {
    // The timing line is for the long-running program's log, not for a terminal.
    QLoggingCategory::setFilterRules(QStringLiteral("com.scrubline.app.seek.info=false"));
    // The stack is the running program's, so the line names the player as it would.
    const MediaStack media = MediaStack::buildForOneRequest();

    MediaController::Served served;
    QEventLoop loop;
    media.controller->enqueueAnsweredSeek(seconds,
                                          [&served, &loop](const MediaController::Served& told) {
                                              served = told;
                                              loop.quit();
                                          });
    // Served at once when no app is running at all; the loop is then not needed.
    if (served.line.isEmpty()) {
        loop.exec();
    }
    return served;
}

} // namespace CommandLineSeek
