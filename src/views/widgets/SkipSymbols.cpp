#include "views/widgets/SkipSymbols.h"

#include <QtGlobal>

#include <cmath>

namespace SkipSymbols {

namespace {

QString named(const QString& base, std::int64_t seconds) {
    if (numberedSeconds().contains(seconds)) {
        return base + QLatin1Char('.') + QString::number(seconds);
    }
    return base;
}

} // namespace

const std::set<std::int64_t>& numberedSeconds() {
    static const std::set<std::int64_t> seconds = {5, 10, 15, 30, 45, 60};
    return seconds;
}

std::int64_t wholeSeconds(double seconds) {
    if (!std::isfinite(seconds) || seconds < -0x1p63 || seconds >= 0x1p63) {
        qFatal("SkipSymbols: %g seconds cannot be shown as a whole number of seconds", seconds);
    }
    return static_cast<std::int64_t>(seconds);
}

QString forward(std::int64_t seconds) {
    return named(QStringLiteral("goforward"), seconds);
}

QString backward(std::int64_t seconds) {
    return named(QStringLiteral("gobackward"), seconds);
}

QString forKind(FeedbackKind kind, std::int64_t forwardSeconds, std::int64_t backwardSeconds) {
    switch (kind) {
    case FeedbackKind::forward:
        return forward(forwardSeconds);
    case FeedbackKind::backward:
        return backward(backwardSeconds);
    case FeedbackKind::playPause:
        return QStringLiteral("playpause");
    }
    qFatal("SkipSymbols: unknown feedback kind %d", static_cast<int>(kind));
}

} // namespace SkipSymbols
