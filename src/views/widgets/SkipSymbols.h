#pragma once

#include "models/SeekFeedback.h"

#include <QString>

#include <cstdint>
#include <set>

// Which skip symbol stands for a step: the numbered arrow where the symbol set has one for
// that many seconds, else the plain arrow.
namespace SkipSymbols {

// The step sizes with a numbered symbol.
const std::set<std::int64_t>& numberedSeconds();

// Seconds truncated toward zero. A value no stored action can hold (not finite, or beyond a
// 64-bit integer) is a programming error and stops the process.
std::int64_t wholeSeconds(double seconds);

QString forward(std::int64_t seconds);
QString backward(std::int64_t seconds);
// The symbol of what a feedback did, by the first configured forward and backward steps.
QString forKind(FeedbackKind kind, std::int64_t forwardSeconds, std::int64_t backwardSeconds);

} // namespace SkipSymbols
