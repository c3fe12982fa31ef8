#pragma once

#include <QHash>
#include <QList>
#include <QString>

#include <array>
#include <compare>
#include <cstdint>
#include <optional>
#include <set>

// The standard colour a player's symbol is drawn in; views turn it into a real colour.
enum class TintColor { green, pink, red, blue, orange, purple };

// One of the closed set of media targets Scrubline can control. Declaration order matters: it is
// the order of allCases() and the default priority order of the settings.
class MediaApp {
public:
    // Firefox and every other player exist only where players are found on the session bus;
    // a platform lists the cases it offers (see allCases() and everyCase()).
    enum Value : std::uint8_t {
        spotify,
        appleMusic,
        chromiumYouTube,
        safariYouTube,
        firefox,
        otherPlayers
    };

    constexpr MediaApp(Value value)
        : m_value(value) {} // NOLINT: implicit on purpose
    constexpr Value value() const { return m_value; }

    static constexpr std::array<MediaApp, 4> allCases() {
        return {spotify, appleMusic, chromiumYouTube, safariYouTube};
    }
    // Every case any platform offers: a settings file written on one platform names apps of
    // its own, and they are still read on another.
    static constexpr std::array<MediaApp, 6> everyCase() {
        return {spotify, appleMusic, chromiumYouTube, safariYouTube, firefox, otherPlayers};
    }
    // The case whose raw value is exactly `rawValue`; there is no fallback case.
    static std::optional<MediaApp> fromRawValue(QStringView rawValue);

    QString rawValue() const;
    QString id() const { return rawValue(); }
    // How the browser apps are named: after the site they drive ("YouTube (Chrome)"), or after
    // the browser alone ("Chrome") where an app drives the media of any page in any browser of
    // its family. Raw values never change with it, so settings files travel between platforms.
    enum class BrowserNaming { bySite, byBrowser };

    // The name every message and view shows; the platform's profile says which naming.
    QString displayName(BrowserNaming naming) const;
    // The running application's name this app is recognised by, and the name the native
    // player scripts address.
    QString processName() const;
    QString symbolName() const;
    TintColor tintColor() const;

    friend constexpr bool operator==(MediaApp a, MediaApp b) { return a.m_value == b.m_value; }
    friend constexpr auto operator<=>(MediaApp a, MediaApp b) { return a.m_value <=> b.m_value; }

private:
    Value m_value;
};

inline size_t qHash(MediaApp app, size_t seed = 0) noexcept {
    return qHash(static_cast<int>(app.value()), seed);
}

// The switched-off apps. Ordered by declaration so that what is written out is deterministic.
using MediaAppSet = std::set<MediaApp>;

// 0xRRGGBB of the platform's standard colour of that name.
std::uint32_t tintColorRgb(TintColor color);
