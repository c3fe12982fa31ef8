#include "CommandLine.h"

#include <cmath>

namespace {

CommandLine invalid(const QString& problem) {
    return {.command = CommandLine::Command::invalid, .seconds = 0, .problem = problem};
}

} // namespace

CommandLine CommandLine::parse(const QStringList& given) {
    QStringList arguments = given;
    // Older macOS Finders add a process serial number to a launch.
    arguments.removeIf(
        [](const QString& argument) { return argument.startsWith(QLatin1String("-psn_")); });
    if (arguments.isEmpty()) {
        return {};
    }
    const QString& name = arguments.constFirst();
    const qsizetype extra = arguments.size() - 1;
    const auto alone = [&](Command command) {
        if (extra > 0) {
            return invalid(QStringLiteral("\"%1\" takes no arguments").arg(name));
        }
        return CommandLine{.command = command, .seconds = 0, .problem = {}};
    };
    if (name == QLatin1String("--help") || name == QLatin1String("-h")) {
        return alone(Command::help);
    }
    if (name == QLatin1String("--version")) {
        return alone(Command::version);
    }
    if (name == QLatin1String("play-pause")) {
        return alone(Command::playPause);
    }
    if (name == QLatin1String("settings")) {
        return alone(Command::settings);
    }
    if (name == QLatin1String("quit")) {
        return alone(Command::quit);
    }
    if (name == QLatin1String("seek")) {
        if (extra != 1) {
            return invalid(QStringLiteral("\"seek\" takes one number of seconds, such as +10 or "
                                          "-5.5"));
        }
        bool ok = false;
        const double seconds = arguments[1].toDouble(&ok);
        if (!ok || !std::isfinite(seconds) || seconds == 0) {
            return invalid(
                QStringLiteral(
                    "\"%1\" is not a number of seconds other than 0, such as +10 or -5.5")
                    .arg(arguments[1]));
        }
        return {.command = Command::seek, .seconds = seconds, .problem = {}};
    }
    return invalid(QStringLiteral("unknown command \"%1\" (try --help)").arg(name));
}

QString CommandLine::helpText() {
    return QStringLiteral(
        "Usage: scrubline [command]\n"
        "\n"
        "Without a command, starts Scrubline in the tray, or brings the running one's icon back.\n"
        "\n"
        "Commands:\n"
        "  seek SECONDS   seek what is playing by SECONDS (+10 forward, -5.5 back)\n"
        "  play-pause     play or pause what is playing\n"
        "  settings       open the settings window\n"
        "  quit           quit the running Scrubline\n"
        "  --version      print the version\n"
        "  --help         print this text\n"
        "\n"
        "seek and play-pause go through the running Scrubline, with its feedback; without one\n"
        "they do the work themselves. They print what happened and exit with 0 when a player\n"
        "was acted on, 1 when nothing was playing or the player refused, 2 on a usage error.\n");
}
