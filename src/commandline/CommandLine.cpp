#include "CommandLine.h"

#include <cerrno>
#include <clocale>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <optional>
#include <string_view>

namespace {

CommandLine invalid(std::string problem) {
    return {.command = CommandLine::Command::invalid, .seconds = 0, .problem = std::move(problem)};
}

std::string quoted(std::string_view text) {
    // Appended piece by piece: GCC 12 at -O3 warns wrongly of an overlap in "\"" + string.
    std::string quoted;
    quoted.reserve(text.size() + 2);
    quoted.append(1, '"').append(text).append(1, '"');
    return quoted;
}

bool isSpace(char c) {
    return c == ' ' || c == '\t' || c == '\n' || c == '\v' || c == '\f' || c == '\r';
}

bool isDigit(char c) {
    return c >= '0' && c <= '9';
}

// A plain decimal: a sign, digits with at most one point, an exponent. Checked here, as strtod
// also takes hexadecimal, "inf" and "nan", and std::from_chars for doubles is missing from the
// C++ library of Apple's toolchain.
bool isPlainDecimal(std::string_view text) {
    std::size_t i = 0;
    const auto sign = [&] {
        if (i < text.size() && (text[i] == '+' || text[i] == '-')) {
            ++i;
        }
    };
    const auto digits = [&] {
        const std::size_t start = i;
        while (i < text.size() && isDigit(text[i])) {
            ++i;
        }
        return i - start;
    };
    sign();
    std::size_t mantissa = digits();
    if (i < text.size() && text[i] == '.') {
        ++i;
        mantissa += digits();
    }
    if (mantissa == 0) {
        return false;
    }
    if (i < text.size() && (text[i] == 'e' || text[i] == 'E')) {
        ++i;
        sign();
        if (digits() == 0) {
            return false;
        }
    }
    return i == text.size();
}

// A decimal number the way a person writes one in any locale's terminal: "+10", "-5.5", "1e1",
// spaces around it allowed, no hexadecimal and no thousands separator.
std::optional<double> decimal(std::string_view text) {
    while (!text.empty() && isSpace(text.front())) {
        text.remove_prefix(1);
    }
    while (!text.empty() && isSpace(text.back())) {
        text.remove_suffix(1);
    }
    if (!isPlainDecimal(text)) {
        return std::nullopt;
    }
    // strtod reads the point of the C library's locale, which a toolkit may have set.
    std::string number(text);
    if (const char* point = std::localeconv()->decimal_point;
        point != nullptr && std::strcmp(point, ".") != 0) {
        if (const std::size_t at = number.find('.'); at != std::string::npos) {
            number.replace(at, 1, point);
        }
    }
    errno = 0;
    char* end = nullptr;
    const double value = std::strtod(number.c_str(), &end);
    if (end != number.c_str() + number.size() || errno == ERANGE) {
        return std::nullopt;
    }
    return value;
}

} // namespace

CommandLine CommandLine::parse(const std::vector<std::string>& given) {
    std::vector<std::string> arguments = given;
    // Older macOS Finders add a process serial number to a launch.
    std::erase_if(arguments,
                  [](const std::string& argument) { return argument.starts_with("-psn_"); });
    if (arguments.empty()) {
        return {};
    }
    const std::string& name = arguments.front();
    const std::size_t extra = arguments.size() - 1;
    const auto alone = [&](Command command) {
        if (extra > 0) {
            return invalid(quoted(name) + " takes no arguments");
        }
        return CommandLine{.command = command, .seconds = 0, .problem = {}};
    };
    if (name == "--help" || name == "-h") {
        return alone(Command::help);
    }
    if (name == "--version") {
        return alone(Command::version);
    }
    if (name == "play-pause") {
        return alone(Command::playPause);
    }
    if (name == "settings") {
        return alone(Command::settings);
    }
    if (name == "quit") {
        return alone(Command::quit);
    }
    if (name == "seek") {
        if (extra != 1) {
            return invalid("\"seek\" takes one number of seconds, such as +10 or -5.5");
        }
        const std::optional<double> seconds = decimal(arguments[1]);
        if (!seconds || !std::isfinite(*seconds) || *seconds == 0) {
            return invalid(quoted(arguments[1]) +
                           " is not a number of seconds other than 0, such as +10 or -5.5");
        }
        return {.command = Command::seek, .seconds = *seconds, .problem = {}};
    }
    return invalid("unknown command " + quoted(name) + " (try --help)");
}

CommandLine CommandLine::parse(int argc, char* argv[]) {
    std::vector<std::string> arguments;
    for (int i = 1; i < argc; ++i) {
        arguments.emplace_back(argv[i]);
    }
    return parse(arguments);
}

std::string CommandLine::helpText() {
    return "Usage: scrubline [command]\n"
           "\n"
           "Without a command, starts Scrubline in the tray, or brings the running one's icon "
           "back.\n"
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
           "was acted on, 1 when nothing was playing or the player refused, 2 on a usage error.\n";
}

std::string CommandLine::versionLine() {
    return "Scrubline " SCRUBLINE_VERSION;
}
