#include "MprisPlayerRegistry.h"

#include "utilities/Logger.h"

#include <QDBusConnectionInterface>
#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QDBusVariant>
#include <QFileInfo>
#include <QRegularExpression>
#include <QSet>

#include <algorithm>

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
    return busName.mid(MprisPlayerRegistry::namePrefix.size());
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

MprisPlayerRegistry::MprisPlayerRegistry(QDBusConnection bus, QObject* parent)
    : QObject(parent)
    , m_bus(std::move(bus)) {
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
    if (!busName.startsWith(namePrefix) || busName.size() == namePrefix.size()) {
        return std::nullopt;
    }
    const QString player = playerPart(busName);
    if (isNamed(player, QLatin1String("spotify"))) {
        return MediaApp::spotify;
    }
    if (hasFirefoxName(player)) {
        return MediaApp::firefox;
    }
    if (hasChromiumName(player) &&
        chromeExecutables.contains(QFileInfo(ownerExecutable).fileName())) {
        return MediaApp::chromiumYouTube;
    }
    return MediaApp::otherPlayers;
}

bool MprisPlayerRegistry::needsOwnerToClassify(const QString& busName) {
    return busName.startsWith(namePrefix) && hasChromiumName(playerPart(busName));
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
    const std::optional<MediaApp> app =
        classify(busName, needsOwnerToClassify(busName) ? executableOf(owner) : QString());
    if (!app) {
        return;
    }
    QMutexLocker lock(&m_mutex);
    const bool first = countOf(*app) == 0;
    m_players.insert(busName, Player{.app = *app, .owner = owner, .lastActive = ++m_activity});
    lock.unlock();
    if (*app == MediaApp::otherPlayers) {
        readIdentity(busName);
    }
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
    for (const MediaApp app : MediaApp::everyCase()) {
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
        player.estimate.applyChanges(changed);
    }
}

void MprisPlayerRegistry::seeked(qlonglong positionUs, const QDBusMessage& message) {
    QMutexLocker lock(&m_mutex);
    for (Player& player : m_players) {
        if (player.owner == message.service()) {
            player.estimate.seeked(positionUs);
        }
    }
}

void MprisPlayerRegistry::remember(const QString& busName, const MprisClient::State& state) {
    QMutexLocker lock(&m_mutex);
    if (auto found = m_players.find(busName); found != m_players.end()) {
        found->estimate.remember(state);
    }
}

void MprisPlayerRegistry::expectSeeked(const QString& busName) {
    QMutexLocker lock(&m_mutex);
    if (auto found = m_players.find(busName); found != m_players.end()) {
        found->estimate.expectSeeked();
    }
}

bool MprisPlayerRegistry::isSeekInFlight(const QString& busName) const {
    QMutexLocker lock(&m_mutex);
    const auto found = m_players.constFind(busName);
    return found != m_players.cend() && found->estimate.isSeekInFlight();
}

bool MprisPlayerRegistry::isHeldOver(const QString& busName) const {
    QMutexLocker lock(&m_mutex);
    const auto found = m_players.constFind(busName);
    return found != m_players.cend() && found->estimate.isHeldOver();
}

QString MprisPlayerRegistry::ownerOf(const QString& busName) const {
    QMutexLocker lock(&m_mutex);
    const auto found = m_players.constFind(busName);
    return found != m_players.cend() ? found->owner : QString();
}

bool MprisPlayerRegistry::canSeekRelatively(const QString& busName, qint64 deltaUs) const {
    QMutexLocker lock(&m_mutex);
    const auto found = m_players.constFind(busName);
    return found != m_players.cend() && found->estimate.canSeekRelatively(deltaUs);
}

std::optional<qint64> MprisPlayerRegistry::targetWithoutRead(const QString& busName,
                                                             qint64 deltaUs) const {
    QMutexLocker lock(&m_mutex);
    const auto found = m_players.constFind(busName);
    return found != m_players.cend() ? found->estimate.targetWithoutRead(deltaUs) : std::nullopt;
}

std::optional<qint64> MprisPlayerRegistry::positionUs(const QString& busName) const {
    QMutexLocker lock(&m_mutex);
    const auto found = m_players.constFind(busName);
    return found != m_players.cend() ? found->estimate.positionUs() : std::nullopt;
}

void MprisPlayerRegistry::sentPosition(const QString& busName, qint64 positionUs) {
    QMutexLocker lock(&m_mutex);
    if (auto found = m_players.find(busName); found != m_players.end()) {
        found->estimate.sentPosition(positionUs);
    }
}

MprisClient::Stepping MprisPlayerRegistry::steppingOf(const QString& busName) const {
    QMutexLocker lock(&m_mutex);
    const auto found = m_players.constFind(busName);
    const bool browser = found != m_players.cend() && (found->app == MediaApp::chromiumYouTube ||
                                                       found->app == MediaApp::firefox);
    return browser ? MprisClient::Stepping::toPosition : MprisClient::Stepping::relative;
}

std::optional<MprisClient::State> MprisPlayerRegistry::known(const QString& busName) const {
    QMutexLocker lock(&m_mutex);
    const auto found = m_players.constFind(busName);
    return found != m_players.cend() ? found->estimate.known() : std::nullopt;
}

void MprisPlayerRegistry::readIdentity(const QString& busName) {
    // Without waiting: the GUI thread never waits on a player.
    QDBusMessage call = QDBusMessage::createMethodCall(
        busName, QStringLiteral("/org/mpris/MediaPlayer2"),
        QStringLiteral("org.freedesktop.DBus.Properties"), QStringLiteral("Get"));
    call << QStringLiteral("org.mpris.MediaPlayer2") << QStringLiteral("Identity");
    auto* watcher = new QDBusPendingCallWatcher(m_bus.asyncCall(call, 5000), this);
    connect(watcher, &QDBusPendingCallWatcher::finished, this,
            [this, busName](QDBusPendingCallWatcher* done) {
                done->deleteLater();
                const QDBusMessage reply = done->reply();
                if (reply.type() != QDBusMessage::ReplyMessage || reply.arguments().isEmpty()) {
                    return;
                }
                const QString identity =
                    reply.arguments().constFirst().value<QDBusVariant>().variant().toString();
                QMutexLocker lock(&m_mutex);
                if (auto found = m_players.find(busName); found != m_players.end()) {
                    found->identity = identity;
                }
            });
}

QString MprisPlayerRegistry::identityOf(const QString& busName) const {
    QMutexLocker lock(&m_mutex);
    const auto found = m_players.constFind(busName);
    return found != m_players.cend() ? found->identity : QString();
}
