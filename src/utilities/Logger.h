#pragma once

#include <QLoggingCategory>

// The program's three log channels. Failures are written at critical ("error") level, the seek
// timing line at info level. Safe to use from any thread.
namespace Log {
const QLoggingCategory& general();
const QLoggingCategory& seek();
const QLoggingCategory& script();
} // namespace Log
