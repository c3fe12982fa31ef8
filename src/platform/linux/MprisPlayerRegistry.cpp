#include "MprisPlayerRegistry.h"

#include "utilities/Logger.h"

#include <QDBusConnectionInterface>
#include <QDBusMessage>
#include <QFileInfo>
#include <QRegularExpression>
#include <QSet>

#include <algorithm>

namespace {

// The programs of Google Chrome and Chromium as their packages install them.
const QSet<QString> chromeExecutables = {
    QStringLiteral("chrome"),
    QStringLiteral("chromium"),
    QStringLiteral("chromium-browser"),
    QStringLiteral("google-chrome"),
    QStringLiteral("google-chrome-stable"),
    QStringLiteral("google-chrome-beta"),
    QStringLiteral("google-chrome-unstable"),
};

} // namespace

MprisPlayerRegistry& MprisPlayerRegistry::shared() {
    static auto* registry = new MprisPlayerRegistry(QDBusConnection::sessionBus());
    return *registry;
}

MprisPlayerRegistry::MprisPlayerRegistry(QDBusConnection bus, QObject* parent)
    : QObject(parent)
    , m_bus(std::move(bus)) {
    m_clock.start();
    if (!m_bus.isConnected()) {
        qCCritical(Log::general(), "No D-Bus session bus, so no media player can be reached: %s",
                   qUtf8Printable(m_bus.lastError().message()));
        return;
    }
    m_bus.connect(QStringLiteral("org.freedesktop.DBus"), QStringLiteral("/org/freedesktop/DBus"),
                  QStringLiteral("org.freedesktop.DBus"), QStringLiteral("NameOwnerChanged"), this,
                  SLOT(nameOwnerChanged(QString, QString, QString)));
    m_bus.connect(QString(), QStringLiteral("/org/mpris/MediaPlayer2"),
                  QStringLiteral("org.freedesktop.DBus.Properties"),
                  QStringLiteral("PropertiesChanged"), this,
                  SLOT(propertiesChanged(QString, QVariantMap, QStringList, QDBusMessage)));
    m_bus.connect(QString(), QStringLiteral("/org/mpris/MediaPlayer2"),
                  QStringLiteral("org.mpris.MediaPlayer2.Player"), QStringLiteral("Seeked"), this,
                  SLOT(seeked(qlonglong, QDBusMessage)));
    // Subscribed first, listed second: a player that appears in between is seen either way.
    const QStringList names = m_bus.interface()->registeredServiceNames().value();
    for (const QString& name : names) {
        if (name.startsWith(namePrefix)) {
            add(name, m_bus.interface()->serviceOwner(name).value());
        }
    }
}

std::optional<MediaApp> MprisPlayerRegistry::classify(const QString& busName,
                                                      const QString& ownerExecutable) {
    if (!busName.startsWith(namePrefix)) {
        return std::nullopt;
    }
    const QString player = busName.mid(namePrefix.size());
    const auto is = [&player](QLatin1String name) {
        return player == name || player.startsWith(name + QLatin1Char('.'));
    };
    if (is(QLatin1String("spotify"))) {
        return MediaApp::spotify;
    }
    if ((is(QLatin1String("chromium")) || is(QLatin1String("chrome"))) &&
        chromeExecutables.contains(QFileInfo(ownerExecutable).fileName())) {
        return MediaApp::chromeYouTube;
    }
    return std::nullopt;
}

QString MprisPlayerRegistry::executableOf(const QString& uniqueName) const {
    // Asked of the bus daemon on the GUI thread: a short wait, never a player's.
    QDBusMessage call = QDBusMessage::createMethodCall(
        QStringLiteral("org.freedesktop.DBus"), QStringLiteral("/org/freedesktop/DBus"),
        QStringLiteral("org.freedesktop.DBus"), QStringLiteral("GetConnectionUnixProcessID"));
    call << uniqueName;
    const QDBusMessage reply = m_bus.call(call, QDBus::Block, 1000);
    if (reply.type() != QDBusMessage::ReplyMessage || reply.arguments().isEmpty()) {
        return {};
    }
    const uint pid = reply.arguments().constFirst().toUInt();
    QString program = QFileInfo(QStringLiteral("/proc/%1/exe").arg(pid)).symLinkTarget();
    // A program replaced by an upgrade while it runs reads as ".../chromium (deleted)".
    program.remove(QRegularExpression(QStringLiteral(" \\(deleted\\)$")));
    return program;
}

void MprisPlayerRegistry::add(const QString& busName, const QString& owner) {
    std::optional<MediaApp> app = classify(busName, QString());
    if (!app && (busName.startsWith(namePrefix + QLatin1String("chrom")))) {
        app = classify(busName, executableOf(owner));
    }
    if (!app) {
        return;
    }
    QMutexLocker lock(&m_mutex);
    const bool first = countOf(*app) == 0;
    m_players.insert(busName, Player{.app = *app, .owner = owner, .lastActive = ++m_activity});
    lock.unlock();
    if (first) {
        emit appAppeared(*app);
    }
}

void MprisPlayerRegistry::remove(const QString& busName) {
    QMutexLocker lock(&m_mutex);
    const auto found = m_players.constFind(busName);
    if (found == m_players.cend()) {
        return;
    }
    const MediaApp app = found->app;
    m_players.erase(found);
    const bool last = countOf(app) == 0;
    lock.unlock();
    if (last) {
        emit appVanished(app);
    }
}

int MprisPlayerRegistry::countOf(MediaApp app) const {
    return static_cast<int>(std::count_if(m_players.cbegin(), m_players.cend(),
                                          [app](const Player& p) { return p.app == app; }));
}

QStringList MprisPlayerRegistry::playersOf(MediaApp app) const {
    QMutexLocker lock(&m_mutex);
    QList<std::pair<quint64, QString>> found;
    for (auto it = m_players.cbegin(); it != m_players.cend(); ++it) {
        if (it->app == app) {
            found.append({it->lastActive, it.key()});
        }
    }
    std::sort(found.begin(), found.end(), std::greater<>());
    QStringList names;
    for (const auto& [active, name] : found) {
        names << name;
    }
    return names;
}

QList<MediaApp> MprisPlayerRegistry::runningApps() const {
    QMutexLocker lock(&m_mutex);
    QList<MediaApp> apps;
    for (const MediaApp app : MediaApp::allCases()) {
        if (countOf(app) > 0) {
            apps << app;
        }
    }
    return apps;
}

void MprisPlayerRegistry::markActive(const QString& busName) {
    QMutexLocker lock(&m_mutex);
    if (auto found = m_players.find(busName); found != m_players.end()) {
        found->lastActive = ++m_activity;
    }
}

void MprisPlayerRegistry::nameOwnerChanged(const QString& name, const QString& oldOwner,
                                           const QString& newOwner) {
    if (!name.startsWith(namePrefix)) {
        return;
    }
    if (!oldOwner.isEmpty()) {
        remove(name);
    }
    if (!newOwner.isEmpty()) {
        add(name, newOwner);
    }
}

void MprisPlayerRegistry::propertiesChanged(const QString& interface, const QVariantMap& changed,
                                            const QStringList& /*invalidated*/,
                                            const QDBusMessage& message) {
    if (interface != QLatin1String("org.mpris.MediaPlayer2.Player")) {
        return;
    }
    const bool playing =
        changed.value(QStringLiteral("PlaybackStatus")).toString() == QLatin1String("Playing");
    QMutexLocker lock(&m_mutex);
    for (Player& player : m_players) {
        if (player.owner != message.service()) {
            continue;
        }
        if (playing) {
            player.lastActive = ++m_activity;
        }
        if (!player.known) {
            continue; // nothing to keep up to date until the player was read once
        }
        if (heldOver(player, changed)) {
            continue;
        }
        // The position so far runs at the old state; from here on at the new one.
        reanchor(player);
        const MprisClient::State before = *player.known;
        MprisClient::apply(*player.known, changed);
        // Another item, even under the same track id, starts at a position not told. Some
        // players send the same metadata again after every seek; that changes nothing.
        const bool anotherItem = player.known->trackId != before.trackId ||
                                 player.known->lengthUs != before.lengthUs ||
                                 player.known->title != before.title;
        if (anotherItem && !changed.contains(QStringLiteral("Position"))) {
            player.known->positionUs.reset();
        }
    }
}

void MprisPlayerRegistry::seeked(qlonglong positionUs, const QDBusMessage& message) {
    QMutexLocker lock(&m_mutex);
    for (Player& player : m_players) {
        if (player.owner == message.service()) {
            player.announcesSeeks = true;
            player.awaitingSeeked = false;
            if (player.known) {
                player.known->positionUs = positionUs;
                player.knownAtNs = m_clock.nsecsElapsed();
            }
        }
    }
}

void MprisPlayerRegistry::remember(const QString& busName, const MprisClient::State& state) {
    QMutexLocker lock(&m_mutex);
    if (auto found = m_players.find(busName); found != m_players.end()) {
        found->known = state;
        found->knownAtNs = m_clock.nsecsElapsed();
        found->holdingSinceNs = -1;
    }
}

void MprisPlayerRegistry::expectSeeked(const QString& busName) {
    QMutexLocker lock(&m_mutex);
    if (auto found = m_players.find(busName); found != m_players.end()) {
        found->awaitingSeeked = true;
        found->ownSeekAtNs = m_clock.nsecsElapsed();
    }
}

bool MprisPlayerRegistry::isSeekInFlight(const QString& busName) const {
    QMutexLocker lock(&m_mutex);
    const auto found = m_players.constFind(busName);
    return found != m_players.cend() && found->announcesSeeks && found->awaitingSeeked;
}

bool MprisPlayerRegistry::isHeldOver(const QString& busName) const {
    QMutexLocker lock(&m_mutex);
    const auto found = m_players.constFind(busName);
    return found != m_players.cend() && holds(*found);
}

QString MprisPlayerRegistry::ownerOf(const QString& busName) const {
    QMutexLocker lock(&m_mutex);
    const auto found = m_players.constFind(busName);
    return found != m_players.cend() ? found->owner : QString();
}

bool MprisPlayerRegistry::holds(const Player& player) const {
    return player.holdingSinceNs >= 0 &&
           m_clock.nsecsElapsed() - player.holdingSinceNs <= seekFlickerNs;
}

bool MprisPlayerRegistry::heldOver(Player& player, const QVariantMap& changed) {
    MprisClient::State after = *player.known;
    MprisClient::apply(after, changed);
    const bool sameItem = after.trackId == player.known->trackId &&
                          after.lengthUs == player.known->lengthUs &&
                          after.title == player.known->title;
    const bool vanished = after.playbackStatus == QLatin1String("Stopped") &&
                          changed.contains(QStringLiteral("Metadata")) &&
                          !MprisClient::isUsableTrack(after.trackId);
    if (player.holdingSinceNs >= 0) {
        if (holds(player) && vanished) {
            return true; // said again
        }
        if (holds(player) && after.isPlaying() && sameItem) {
            player.holdingSinceNs = -1; // back, where the position ran on meanwhile
            return false;
        }
        // Not the moment we held over after all: what the player is now is read again.
        player.holdingSinceNs = -1;
        player.known.reset();
        return true;
    }
    const qint64 now = m_clock.nsecsElapsed();
    const bool afterOurSeek = player.ownSeekAtNs >= 0 && now - player.ownSeekAtNs <= seekFlickerNs;
    if (vanished && afterOurSeek && player.known->isPlaying() &&
        MprisClient::isUsableTrack(player.known->trackId)) {
        reanchor(player);
        player.holdingSinceNs = now;
        return true;
    }
    return false;
}

bool MprisPlayerRegistry::canSeekRelatively(const QString& busName, qint64 deltaUs) const {
    QMutexLocker lock(&m_mutex);
    const auto found = m_players.constFind(busName);
    if (found == m_players.cend() || !found->known || !found->announcesSeeks ||
        found->awaitingSeeked || (found->holdingSinceNs >= 0 && !holds(*found))) {
        return false;
    }
    const MprisClient::State& state = *found->known;
    if (!state.isPlaying() || !MprisClient::isUsableTrack(state.trackId) || !state.lengthUs ||
        *state.lengthUs <= 0 || !state.positionUs) {
        return false;
    }
    const qint64 ageUs = (m_clock.nsecsElapsed() - found->knownAtNs) / 1000;
    constexpr qint64 oldest = 60'000'000;
    if (ageUs > oldest) {
        return false;
    }
    // Stalls and rate changes make a guess drift; keep well away from both ends.
    const qint64 margin = 2'000'000 + ageUs / 10;
    const qint64 target = estimatedPositionUs(*found) + deltaUs;
    return target >= margin && target <= *state.lengthUs - margin;
}

qint64 MprisPlayerRegistry::estimatedPositionUs(const Player& player) const {
    const qint64 base = player.known->positionUs.value_or(0);
    if (!player.known->isPlaying()) {
        return base;
    }
    const double elapsedUs = static_cast<double>(m_clock.nsecsElapsed() - player.knownAtNs) / 1000;
    return base + static_cast<qint64>(elapsedUs * player.known->rate);
}

void MprisPlayerRegistry::reanchor(Player& player) {
    if (player.known->positionUs) {
        player.known->positionUs = estimatedPositionUs(player);
    }
    player.knownAtNs = m_clock.nsecsElapsed();
}
