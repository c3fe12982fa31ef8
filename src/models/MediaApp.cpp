#include "MediaApp.h"

#include <QtGlobal>

namespace {

struct Attributes {
    const char* rawValue;
    const char* displayName;
    // The browser's name alone, for a browser app named by browser; null for the other apps.
    const char* browserName;
    const char* processName;
    const char* symbolName;
    TintColor tint;
};

const Attributes& attributes(MediaApp app) {
    static const Attributes table[] = {
        {"spotify", "Spotify", nullptr, "Spotify", "music.note", TintColor::green},
        {"appleMusic", "Apple Music", nullptr, "Music", "music.quarternote.3", TintColor::pink},
        {"chromeYouTube", "YouTube (Chrome)", "Chrome", "Google Chrome", "play.rectangle",
         TintColor::red},
        {"safariYouTube", "YouTube (Safari)", "Safari", "Safari", "safari", TintColor::blue},
        {"firefox", "Firefox", nullptr, "Firefox", "globe", TintColor::orange},
        {"otherPlayers", "Other players", nullptr, "Other players", "music.note.list",
         TintColor::purple},
    };
    return table[app.value()];
}

} // namespace

std::optional<MediaApp> MediaApp::fromRawValue(QStringView rawValue) {
    for (MediaApp app : everyCase()) {
        if (rawValue == QLatin1StringView(attributes(app).rawValue)) {
            return app;
        }
    }
    return std::nullopt;
}

QString MediaApp::rawValue() const {
    return QString::fromLatin1(attributes(*this).rawValue);
}

QString MediaApp::displayName(BrowserNaming naming) const {
    const Attributes& shown = attributes(*this);
    if (naming == BrowserNaming::byBrowser && shown.browserName != nullptr) {
        return QString::fromLatin1(shown.browserName);
    }
    return QString::fromLatin1(shown.displayName);
}

QString MediaApp::processName() const {
    return QString::fromLatin1(attributes(*this).processName);
}

QString MediaApp::symbolName() const {
    return QString::fromLatin1(attributes(*this).symbolName);
}

TintColor MediaApp::tintColor() const {
    return attributes(*this).tint;
}

std::uint32_t tintColorRgb(TintColor color) {
    // The system colours of the reference platform, light appearance.
    switch (color) {
    case TintColor::green:
        return 0x34C759;
    case TintColor::pink:
        return 0xFF2D55;
    case TintColor::red:
        return 0xFF3B30;
    case TintColor::blue:
        return 0x007AFF;
    case TintColor::orange:
        return 0xFF9500;
    case TintColor::purple:
        return 0xAF52DE;
    }
    qFatal("tintColorRgb: unknown colour %d", static_cast<int>(color));
}
