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

NowPlaying NowPlaying::fromText(MediaApp app, const QString& text, const QString& playerName) {
    static const QString separator = QStringLiteral(" - ");
    const qsizetype at = text.indexOf(separator);
    if (at >= 0) {
        const QString title = text.left(at);
        const QString artist = text.mid(at + separator.size());
        if (!title.isEmpty() && !artist.isEmpty()) {
            return {title, artist, app, playerName};
        }
    }
    return {text, QString(), app, playerName};
}
