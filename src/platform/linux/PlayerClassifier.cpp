#include "PlayerClassifier.h"

#include <QFileInfo>
#include <QRegularExpression>
#include <QSet>

namespace PlayerClassifier {
namespace {

// The programs of the Chromium-based browsers as their packages install them.
const QSet<QString> chromeExecutables = {
    QStringLiteral("chrome"),
    QStringLiteral("chromium"),
    QStringLiteral("chromium-browser"),
    QStringLiteral("google-chrome"),
    QStringLiteral("google-chrome-stable"),
    QStringLiteral("google-chrome-beta"),
    QStringLiteral("google-chrome-unstable"),
    QStringLiteral("brave"),
    QStringLiteral("brave-browser"),
    QStringLiteral("msedge"),
    QStringLiteral("microsoft-edge"),
    QStringLiteral("microsoft-edge-stable"),
    QStringLiteral("microsoft-edge-beta"),
    QStringLiteral("microsoft-edge-dev"),
    QStringLiteral("vivaldi"),
    QStringLiteral("vivaldi-bin"),
    QStringLiteral("opera"),
};

// The part of a player's bus name after the MPRIS prefix.
QString playerPart(const QString& busName) {
    return busName.mid(namePrefix.size());
}

// "name" itself or "name." followed by anything.
bool isNamed(const QString& player, QLatin1String name) {
    return player == name || player.startsWith(name + QLatin1Char('.'));
}

// The names Chromium-based browsers take, and Electron apps with them.
bool hasChromiumName(const QString& player) {
    static const QRegularExpression names(
        QStringLiteral("^((chromium|brave|edge|vivaldi)\\.instance|chrome\\.|opera)"));
    return names.match(player).hasMatch();
}

// "firefox.instance_1_23" and the older "firefox.instance1234", taken by its forks as well.
bool hasFirefoxName(const QString& player) {
    static const QRegularExpression names(QStringLiteral("^firefox\\.instance(_|\\d)"));
    return names.match(player).hasMatch();
}

} // namespace

bool isPlayerName(const QString& busName) {
    return busName.startsWith(namePrefix) && busName.size() > namePrefix.size();
}

std::optional<MediaApp> classify(const QString& busName, const QString& ownerProgram) {
    if (!isPlayerName(busName)) {
        return std::nullopt;
    }
    const QString player = playerPart(busName);
    if (isNamed(player, QLatin1String("spotify"))) {
        return MediaApp::spotify;
    }
    if (hasFirefoxName(player)) {
        return MediaApp::firefox;
    }
    if (hasChromiumName(player) && chromeExecutables.contains(QFileInfo(ownerProgram).fileName())) {
        return MediaApp::chromiumYouTube;
    }
    return MediaApp::otherPlayers;
}

bool needsOwnerProgram(const QString& busName) {
    return isPlayerName(busName) && hasChromiumName(playerPart(busName));
}

} // namespace PlayerClassifier
