#include "ScriptNowPlaying.h"

namespace ScriptNowPlaying {
namespace {

const QString separator = QStringLiteral(" - ");

// The title and artist on either side of the separator at `at`, where both are there.
std::optional<NowPlaying> partedAt(MediaApp app, const QString& text, qsizetype at) {
    if (at < 0) {
        return std::nullopt;
    }
    const QString title = text.left(at);
    const QString artist = text.mid(at + separator.size());
    if (title.isEmpty() || artist.isEmpty()) {
        return std::nullopt;
    }
    return NowPlaying{title, {artist}, app};
}

} // namespace

NowPlaying fromTrackAnswer(MediaApp app, const QString& answer) {
    if (answer.endsWith(separator)) {
        // The player knows no artist: the script still put the separator in.
        return {answer.chopped(separator.size()), {}, app};
    }
    return partedAt(app, answer, answer.lastIndexOf(separator))
        .value_or(NowPlaying{answer, {}, app});
}

NowPlaying fromVideoTitle(MediaApp app, const QString& title) {
    return partedAt(app, title, title.indexOf(separator)).value_or(NowPlaying{title, {}, app});
}

} // namespace ScriptNowPlaying
