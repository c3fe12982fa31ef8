#include "SeekFeedback.h"

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
