#include "ScriptSeconds.h"

#include <array>
#include <charconv>
#include <cmath>

QString scriptSeconds(double seconds) {
    std::array<char, 64> buffer{};
    const double magnitude = std::fabs(seconds);
    // Plain notation would run to hundreds of digits at the extremes; no step is near them.
    const bool plain = magnitude == 0 || (magnitude >= 1e-4 && magnitude < 1e16);
    const auto [end, error] =
        std::to_chars(buffer.data(), buffer.data() + buffer.size(), seconds,
                      plain ? std::chars_format::fixed : std::chars_format::scientific);
    if (error != std::errc()) {
        return QString::number(seconds, 'g', 17); // cannot happen with this buffer
    }
    QString text = QString::fromLatin1(buffer.data(), end - buffer.data());
    if (plain && !text.contains(QLatin1Char('.'))) {
        text += QStringLiteral(".0");
    }
    return text;
}
