#include "SeekFeedback.h"

#include <cmath>

QString SeekFeedback::totalText() const {
    if (!showsTotal()) {
        return {};
    }
    const double total = hold->totalSeconds;
    // The shortest form that reads back as the same number: "40", "7.5".
    return (total < 0 ? QStringLiteral("-") : QStringLiteral("+")) +
           QString::number(std::abs(total), 'g', 15) + QStringLiteral("s");
}
