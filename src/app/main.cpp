#include "ScrublineApp.h"
#include "platform/Platform.h"

#include <QApplication>

#include <cstdio>

int main(int argc, char* argv[]) {
    if (const QString problem = Platform::displayProblem(); !problem.isEmpty()) {
        std::fprintf(stderr, "scrubline: %s\n", qPrintable(problem));
        return 1;
    }
    QApplication application(argc, argv);
    QApplication::setApplicationName(QStringLiteral("Scrubline"));
    QApplication::setOrganizationDomain(QStringLiteral("scrubline.com"));
    QApplication::setApplicationVersion(QStringLiteral(SCRUBLINE_VERSION));
    // A menu-bar utility: closing a window never ends it.
    QApplication::setQuitOnLastWindowClosed(false);

    ScrublineApp scrubline;
    return application.exec();
}
