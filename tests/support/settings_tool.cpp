// A separate process for tests that must kill or crash what they observe:
//   settings_tool write-once <file>   saves one change, says "saved", then waits to be killed
//                                     (or for its input to close, when the test is gone)
//   settings_tool write-loop <file>   saves changes without end, saying "saved <n>" after each
// Each change is flushed to the file before it is confirmed, as the program flushes at its end:
// no event loop runs here to write a burst.
//   settings_tool label <seconds>     prints the label of a forward action of that many seconds
#include "ReferenceApps.h"
#include "platform/IniSettings.h"
#include "settings/AppSettings.h"

#include <QCoreApplication>
#include <QSettings>

#include <cstdio>
#include <cstdlib>

namespace {

std::unique_ptr<AppSettings> openStore(const QString& path) {
    return std::make_unique<AppSettings>(std::make_unique<SettingsStore>(openIniSettings(path)),
                                         referenceApps());
}

void say(const QByteArray& line) {
    std::fputs(line.constData(), stdout);
    std::fputc('\n', stdout);
    std::fflush(stdout);
}

} // namespace

int main(int argc, char* argv[]) {
    QCoreApplication application(argc, argv);
    const QStringList args = application.arguments();
    if (args.size() != 3) {
        std::fputs("usage: settings_tool write-once|write-loop <file> | label <seconds>\n", stderr);
        return 2;
    }
    const QString command = args.at(1);
    if (command == QLatin1StringView("label")) {
        say(SeekAction(SeekAction::Direction::forward, std::strtod(argv[2], nullptr), 0, 0)
                .label()
                .toUtf8());
        return 0;
    }
    auto settings = openStore(args.at(2));
    if (command == QLatin1StringView("write-once")) {
        settings->setShowHUDOverlay(false);
        settings->savePendingChanges();
        say("saved");
        while (std::fgetc(stdin) != EOF) {
        }
        return 0;
    }
    if (command == QLatin1StringView("write-loop")) {
        QList<MediaApp> apps = settings->enabledApps();
        for (int n = 1;; ++n) {
            std::rotate(apps.begin(), apps.begin() + 1, apps.end());
            settings->setEnabledApps(apps);
            settings->setFeedbackDuration(n);
            settings->savePendingChanges();
            say("saved " + QByteArray::number(n));
        }
    }
    return 2;
}
