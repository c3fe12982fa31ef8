// A media player of our own on the session bus, for what no real player here does: Spotify's
// ways (a track id typed as a string, a length typed t, a position that is never signalled)
// and any bus name, owned by a process with any program name (copy this program to a file
// named "chromium" and it passes for Chromium). Like Chromium's, its introspection is empty.
//
// With --flicker it behaves as Chromium does after a seek: it announces the new position, then
// says "Stopped" with no metadata for a moment, then "Playing" the same track again.
//
// Other players' ways, each by an option: a track id typed s, no track id, a position in whole
// seconds, CanSeek false (never signalled), a position typed i, an Identity of its own.
//
// With --answer-after it is a slow player: each call to its controls (Seek, SetPosition,
// PlayPause, Play, Pause, Stop) is carried out and answered that long after it came.
//
// Every call it takes is printed on standard output, one line each ("SetPosition /t 12000000",
// "Seek -10000000", "PlayPause", "Pause", "Stop", "Play", "Get Position", "GetAll").
#include <QCommandLineParser>
#include <QCoreApplication>
#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusObjectPath>
#include <QDBusVariant>
#include <QDBusVirtualObject>
#include <QElapsedTimer>
#include <QTextStream>
#include <QTimer>

#include <algorithm>
#include <cstdio>

namespace {

const QString playerInterface = QStringLiteral("org.mpris.MediaPlayer2.Player");

class FakePlayer : public QDBusVirtualObject {
public:
    QString busName;
    QString trackId = QStringLiteral("/org/scrubline/track/1");
    bool trackIdAsString = false;
    bool lengthUnsigned = false;
    qint64 lengthUs = 240'000'000;
    QString title = QStringLiteral("Intro");
    QStringList artists = {QStringLiteral("Band")};
    bool silent = false;
    bool signalsSeeks = true; // Spotify tells no one of its position
    int flickerMs = -1;       // Chromium's way after a seek: Stopped, then Playing again
    bool hasTrackId = true;
    bool wholeSeconds = false; // Firefox's, Rhythmbox's and Strawberry's position
    bool canSeek = true;
    bool positionAsInt = false; // typed i: only positions under 36 minutes fit
    QString identity = QStringLiteral("Fake Player");
    int answerAfterMs = 0;

    void start(bool playing, qint64 positionUs) {
        m_playing = playing;
        m_baseUs = positionUs;
        m_clock.start();
    }

    QString introspect(const QString&) const override { return {}; }

    bool handleMessage(const QDBusMessage& message, const QDBusConnection& bus) override {
        const QString member = message.member();
        const QVariantList args = message.arguments();
        // Its name, asked once by whoever follows the players: not a call to its controls, and
        // not printed.
        if (member == QLatin1String("Get") && args.size() == 2 &&
            args[0].toString() == QLatin1String("org.mpris.MediaPlayer2")) {
            if (args[1].toString() != QLatin1String("Identity")) {
                return bus.send(message.createErrorReply(
                    QStringLiteral("org.freedesktop.DBus.Error.InvalidArgs"), args[1].toString()));
            }
            return bus.send(message.createReply(QVariant::fromValue(QDBusVariant(identity))));
        }
        QString line = member;
        for (const QVariant& arg : args) {
            line += QLatin1Char(' ') + (arg.userType() == qMetaTypeId<QDBusObjectPath>()
                                            ? arg.value<QDBusObjectPath>().path()
                                            : arg.toString());
        }
        if (!m_answeringLate) {
            std::printf("%s\n", qPrintable(line));
            std::fflush(stdout);
        }
        static const QStringList controls = {
            QStringLiteral("Seek"), QStringLiteral("SetPosition"), QStringLiteral("PlayPause"),
            QStringLiteral("Play"), QStringLiteral("Pause"),       QStringLiteral("Stop")};
        if (answerAfterMs > 0 && !m_answeringLate && controls.contains(member)) {
            QTimer::singleShot(answerAfterMs, [this, message, bus] {
                m_answeringLate = true;
                handleMessage(message, bus);
                m_answeringLate = false;
            });
            return true;
        }
        if (silent) {
            return true; // taken, never answered: the caller waits out its time-out
        }
        if (member == QLatin1String("Get") && args.size() == 2) {
            const QVariantMap all = properties();
            const QString name = args[1].toString();
            if (!all.contains(name)) {
                return bus.send(message.createErrorReply(
                    QStringLiteral("org.freedesktop.DBus.Error.InvalidArgs"), name));
            }
            return bus.send(
                message.createReply(QVariant::fromValue(QDBusVariant(all.value(name)))));
        }
        if (member == QLatin1String("GetAll")) {
            return bus.send(message.createReply(properties()));
        }
        if (member == QLatin1String("PlayPause") || member == QLatin1String("Pause") ||
            member == QLatin1String("Play")) {
            const bool playing =
                member == QLatin1String("PlayPause") ? !m_playing : member == QLatin1String("Play");
            start(playing, positionUs());
            m_stopped = m_flickering = false;
            bus.send(message.createReply());
            return announce(bus, {{QStringLiteral("PlaybackStatus"), status()},
                                  {QStringLiteral("Metadata"), metadata()}});
        }
        if (member == QLatin1String("Stop")) {
            start(false, positionUs());
            m_stopped = true;
            m_flickering = false;
            bus.send(message.createReply());
            return announce(bus, {{QStringLiteral("PlaybackStatus"), status()},
                                  {QStringLiteral("Metadata"), metadata()}});
        }
        if ((member == QLatin1String("Seek") || member == QLatin1String("SetPosition")) &&
            !canSeek) {
            return bus.send(message.createReply()); // taken and ignored, as MPRIS allows
        }
        if (member == QLatin1String("Seek") && args.size() == 1) {
            start(m_playing, std::max<qint64>(0, positionUs() + args[0].toLongLong()));
            bus.send(message.createReply());
            return announceSeek(bus);
        }
        if (member == QLatin1String("SetPosition") && args.size() == 2) {
            const qint64 target = args[1].toLongLong();
            if (target >= 0 && target <= lengthUs) {
                start(m_playing, target);
            }
            bus.send(message.createReply());
            return announceSeek(bus);
        }
        return bus.send(message.createErrorReply(
            QStringLiteral("org.freedesktop.DBus.Error.UnknownMethod"), member));
    }

private:
    QString status() const {
        if (m_stopped || m_flickering) {
            return QStringLiteral("Stopped");
        }
        return m_playing ? QStringLiteral("Playing") : QStringLiteral("Paused");
    }

    bool announce(const QDBusConnection& bus, const QVariantMap& changed) {
        QDBusMessage signal = QDBusMessage::createSignal(
            QStringLiteral("/org/mpris/MediaPlayer2"),
            QStringLiteral("org.freedesktop.DBus.Properties"), QStringLiteral("PropertiesChanged"));
        signal << playerInterface << changed << QStringList();
        return bus.send(signal);
    }

    bool announceSeek(const QDBusConnection& bus) {
        if (!signalsSeeks) {
            return true;
        }
        QDBusMessage signal = QDBusMessage::createSignal(QStringLiteral("/org/mpris/MediaPlayer2"),
                                                         playerInterface, QStringLiteral("Seeked"));
        signal << QVariant::fromValue<qlonglong>(reportedPositionUs());
        const bool sent = bus.send(signal);
        if (flickerMs >= 0 && m_playing && !m_stopped && !m_flickering) {
            // Gone for a moment, as a browser's media session is while it seeks, then back with
            // the same track; the position runs on meanwhile.
            m_flickering = true;
            announce(bus, {{QStringLiteral("PlaybackStatus"), status()},
                           {QStringLiteral("Metadata"), metadata()}});
            QTimer::singleShot(flickerMs, [this, bus] {
                if (!m_flickering) {
                    return; // ended by a command meanwhile
                }
                m_flickering = false;
                announce(bus, {{QStringLiteral("PlaybackStatus"), status()},
                               {QStringLiteral("Metadata"), metadata()}});
            });
        }
        return sent;
    }

    qint64 positionUs() const { return m_baseUs + (m_playing ? m_clock.nsecsElapsed() / 1000 : 0); }

    qint64 reportedPositionUs() const {
        const qint64 position = positionUs();
        return wholeSeconds ? position / 1'000'000 * 1'000'000 : position;
    }

    QVariantMap metadata() const {
        if (m_stopped || m_flickering) {
            return {};
        }
        QVariantMap metadata;
        if (hasTrackId) {
            metadata.insert(QStringLiteral("mpris:trackid"),
                            trackIdAsString ? QVariant(trackId)
                                            : QVariant::fromValue(QDBusObjectPath(trackId)));
        }
        metadata.insert(QStringLiteral("mpris:length"),
                        lengthUnsigned ? QVariant::fromValue<qulonglong>(lengthUs)
                                       : QVariant::fromValue<qlonglong>(lengthUs));
        metadata.insert(QStringLiteral("xesam:title"), title);
        metadata.insert(QStringLiteral("xesam:artist"), artists);
        return metadata;
    }

    QVariantMap properties() const {
        return {
            {QStringLiteral("PlaybackStatus"), status()},
            {QStringLiteral("Metadata"), metadata()},
            {QStringLiteral("Position"),
             positionAsInt ? QVariant::fromValue<int>(static_cast<int>(reportedPositionUs()))
                           : QVariant::fromValue<qlonglong>(reportedPositionUs())},
            {QStringLiteral("CanSeek"), canSeek},
        };
    }

    bool m_playing = true;
    bool m_stopped = false;
    bool m_flickering = false;
    qint64 m_baseUs = 0;
    QElapsedTimer m_clock;
    bool m_answeringLate = false;
};

} // namespace

int main(int argc, char** argv) {
    QCoreApplication app(argc, argv);
    QCommandLineParser options;
    options.addHelpOption();
    options.addOptions({
        {QStringLiteral("name"), QStringLiteral("Bus name after org.mpris.MediaPlayer2."),
         QStringLiteral("name")},
        {QStringLiteral("paused"), QStringLiteral("Start paused.")},
        {QStringLiteral("position"), QStringLiteral("Start position in seconds."),
         QStringLiteral("seconds"), QStringLiteral("0")},
        {QStringLiteral("length"), QStringLiteral("Track length in seconds (0: unknown)."),
         QStringLiteral("seconds"), QStringLiteral("240")},
        {QStringLiteral("spotify"),
         QStringLiteral("Track id as a string, length typed t, no Seeked signal.")},
        {QStringLiteral("track"), QStringLiteral("The track id."), QStringLiteral("id")},
        {QStringLiteral("title"), QStringLiteral("Track title."), QStringLiteral("title")},
        {QStringLiteral("artist"), QStringLiteral("An artist (repeatable)."),
         QStringLiteral("artist")},
        {QStringLiteral("silent"), QStringLiteral("Take calls but never answer them.")},
        {QStringLiteral("track-string"), QStringLiteral("Track id typed s.")},
        {QStringLiteral("no-track-id"), QStringLiteral("Metadata without a track id.")},
        {QStringLiteral("whole-seconds"), QStringLiteral("Report the position in whole seconds.")},
        {QStringLiteral("cannot-seek"),
         QStringLiteral("CanSeek false, never signalled; seeks are ignored.")},
        {QStringLiteral("position-int"), QStringLiteral("Position typed i.")},
        {QStringLiteral("identity"), QStringLiteral("The player's Identity."),
         QStringLiteral("name")},
        {QStringLiteral("answer-after"),
         QStringLiteral("Carry out and answer each call to the controls this much later."),
         QStringLiteral("milliseconds")},
        {QStringLiteral("flicker"),
         QStringLiteral("After each seek, say Stopped with no metadata for this long."),
         QStringLiteral("milliseconds")},
    });
    options.process(app);

    FakePlayer player;
    player.busName =
        QStringLiteral("org.mpris.MediaPlayer2.") + options.value(QStringLiteral("name"));
    player.trackIdAsString = player.lengthUnsigned = options.isSet(QStringLiteral("spotify"));
    player.signalsSeeks = !options.isSet(QStringLiteral("spotify"));
    if (options.isSet(QStringLiteral("track"))) {
        player.trackId = options.value(QStringLiteral("track"));
    }
    player.lengthUs = static_cast<qint64>(options.value(QStringLiteral("length")).toDouble() * 1e6);
    if (options.isSet(QStringLiteral("title"))) {
        player.title = options.value(QStringLiteral("title"));
    }
    if (options.isSet(QStringLiteral("artist"))) {
        player.artists = options.values(QStringLiteral("artist"));
    }
    player.silent = options.isSet(QStringLiteral("silent"));
    if (options.isSet(QStringLiteral("track-string"))) {
        player.trackIdAsString = true;
    }
    player.hasTrackId = !options.isSet(QStringLiteral("no-track-id"));
    player.wholeSeconds = options.isSet(QStringLiteral("whole-seconds"));
    player.canSeek = !options.isSet(QStringLiteral("cannot-seek"));
    player.positionAsInt = options.isSet(QStringLiteral("position-int"));
    if (options.isSet(QStringLiteral("identity"))) {
        player.identity = options.value(QStringLiteral("identity"));
    }
    player.answerAfterMs = options.value(QStringLiteral("answer-after")).toInt();
    if (options.isSet(QStringLiteral("flicker"))) {
        player.flickerMs = options.value(QStringLiteral("flicker")).toInt();
    }
    player.start(!options.isSet(QStringLiteral("paused")),
                 static_cast<qint64>(options.value(QStringLiteral("position")).toDouble() * 1e6));

    QDBusConnection bus = QDBusConnection::sessionBus();
    if (!bus.registerVirtualObject(QStringLiteral("/org/mpris/MediaPlayer2"), &player) ||
        !bus.registerService(player.busName)) {
        std::fprintf(stderr, "fake player: cannot take %s: %s\n", qPrintable(player.busName),
                     qPrintable(bus.lastError().message()));
        return 1;
    }
    std::printf("ready\n");
    std::fflush(stdout);
    return QCoreApplication::exec();
}
