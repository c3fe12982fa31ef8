#include "Logger.h"

namespace Log {

Q_LOGGING_CATEGORY(generalCategory, "com.scrubline.app.general")
Q_LOGGING_CATEGORY(seekCategory, "com.scrubline.app.seek")
Q_LOGGING_CATEGORY(scriptCategory, "com.scrubline.app.script")

const QLoggingCategory& general() {
    return generalCategory();
}
const QLoggingCategory& seek() {
    return seekCategory();
}
const QLoggingCategory& script() {
    return scriptCategory();
}

} // namespace Log
