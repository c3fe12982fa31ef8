#include "models/SeekAction.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QtTest>

#include <cstdint>

using Direction = SeekAction::Direction;

// Lets a failed QCOMPARE show both actions instead of printing nothing.
static char* toString(const SeekAction& action) {
    const QString text = QStringLiteral("SeekAction(%1, %2, %3 s, key %4, modifiers %5)")
                             .arg(action.id().toString(), SeekAction::rawValue(action.direction))
                             .arg(action.seconds)
                             .arg(action.keyCode)
                             .arg(action.carbonModifiers);
    return qstrdup(text.toUtf8().constData());
}

namespace {

const QString knownId = QStringLiteral("0F8FAD5B-D9CB-469F-A165-70867728950E");

QUuid knownUuid() {
    return QUuid::fromString(knownId);
}

QString glyph(char32_t codePoint) {
    return QString::fromUcs4(&codePoint, 1);
}

// The object the settings store writes for a forward 10 s action on ⌃⌥⌘→.
QJsonObject validObject() {
    return QJsonObject{
        {QStringLiteral("id"), knownId},
        {QStringLiteral("direction"), QStringLiteral("forward")},
        {QStringLiteral("seconds"), 10.0},
        {QStringLiteral("keyCode"), 124},
        {QStringLiteral("carbonModifiers"), 6400},
    };
}

QJsonObject withValue(const QString& key, const QJsonValue& value) {
    QJsonObject object = validObject();
    object.insert(key, value);
    return object;
}

void addKeyNameRow(int keyCode, const QString& name) {
    QTest::addRow("%d", keyCode) << keyCode << name;
}

} // namespace

class TestSeekAction : public QObject {
    Q_OBJECT

private slots:
    void label_data() {
        QTest::addColumn<Direction>("direction");
        QTest::addColumn<double>("seconds");
        QTest::addColumn<QString>("label");

        QTest::newRow("forward 10") << Direction::forward << 10.0 << "Forward 10s";
        QTest::newRow("forward 2.5 truncates") << Direction::forward << 2.5 << "Forward 2s";
        QTest::newRow("backward 5") << Direction::backward << 5.0 << "Backward 5s";
        QTest::newRow("forward 10.9 truncates") << Direction::forward << 10.9 << "Forward 10s";
        QTest::newRow("backward 0.5 truncates") << Direction::backward << 0.5 << "Backward 0s";
        QTest::newRow("forward 120") << Direction::forward << 120.0 << "Forward 120s";
        QTest::newRow("playPause") << Direction::playPause << 0.0 << "Play/Pause";
        QTest::newRow("playPause ignores seconds") << Direction::playPause << 30.0 << "Play/Pause";
    }

    void label() {
        QFETCH(Direction, direction);
        QFETCH(double, seconds);
        QFETCH(QString, label);

        QCOMPARE(SeekAction(direction, seconds, 0, 0).label(), label);
    }

    void directionIcon_data() {
        QTest::addColumn<Direction>("direction");
        QTest::addColumn<double>("seconds");
        QTest::addColumn<QString>("icon");

        QTest::newRow("backward 45 seconds") << Direction::backward << 45.0 << "gobackward.45";
        QTest::newRow("backward 20 has no numbered symbol")
            << Direction::backward << 20.0 << "gobackward";
        QTest::newRow("forward 10.7 truncates") << Direction::forward << 10.7 << "goforward.10";
        QTest::newRow("playPause") << Direction::playPause << 0.0 << "playpause";
        QTest::newRow("playPause ignores seconds") << Direction::playPause << 10.0 << "playpause";

        // The numbered symbols that exist for both arrows.
        for (const int n : {5, 10, 15, 30, 45, 60}) {
            QTest::addRow("forward %d", n) << Direction::forward << static_cast<double>(n)
                                           << QStringLiteral("goforward.%1").arg(n);
            QTest::addRow("backward %d", n) << Direction::backward << static_cast<double>(n)
                                            << QStringLiteral("gobackward.%1").arg(n);
        }
        for (const int n : {0, 4, 11, 90}) {
            QTest::addRow("forward %d", n)
                << Direction::forward << static_cast<double>(n) << "goforward";
            QTest::addRow("backward %d", n)
                << Direction::backward << static_cast<double>(n) << "gobackward";
        }
        QTest::newRow("backward 59.9 truncates to 59")
            << Direction::backward << 59.9 << "gobackward";
    }

    void directionIcon() {
        QFETCH(Direction, direction);
        QFETCH(double, seconds);
        QFETCH(QString, icon);

        QCOMPARE(SeekAction(direction, seconds, 0, 0).directionIcon(), icon);
    }

    void keyName_data() {
        QTest::addColumn<int>("keyCode");
        QTest::addColumn<QString>("name");

        // Letters and digits of the ANSI layout.
        addKeyNameRow(0, QStringLiteral("A"));
        addKeyNameRow(1, QStringLiteral("S"));
        addKeyNameRow(2, QStringLiteral("D"));
        addKeyNameRow(3, QStringLiteral("F"));
        addKeyNameRow(4, QStringLiteral("H"));
        addKeyNameRow(5, QStringLiteral("G"));
        addKeyNameRow(6, QStringLiteral("Z"));
        addKeyNameRow(7, QStringLiteral("X"));
        addKeyNameRow(8, QStringLiteral("C"));
        addKeyNameRow(9, QStringLiteral("V"));
        addKeyNameRow(11, QStringLiteral("B"));
        addKeyNameRow(12, QStringLiteral("Q"));
        addKeyNameRow(13, QStringLiteral("W"));
        addKeyNameRow(14, QStringLiteral("E"));
        addKeyNameRow(15, QStringLiteral("R"));
        addKeyNameRow(16, QStringLiteral("Y"));
        addKeyNameRow(17, QStringLiteral("T"));
        addKeyNameRow(18, QStringLiteral("1"));
        addKeyNameRow(19, QStringLiteral("2"));
        addKeyNameRow(20, QStringLiteral("3"));
        addKeyNameRow(21, QStringLiteral("4"));
        addKeyNameRow(22, QStringLiteral("6"));
        addKeyNameRow(23, QStringLiteral("5"));
        addKeyNameRow(25, QStringLiteral("9"));
        addKeyNameRow(26, QStringLiteral("7"));
        addKeyNameRow(28, QStringLiteral("8"));
        addKeyNameRow(29, QStringLiteral("0"));
        addKeyNameRow(31, QStringLiteral("O"));
        addKeyNameRow(32, QStringLiteral("U"));
        addKeyNameRow(34, QStringLiteral("I"));
        addKeyNameRow(35, QStringLiteral("P"));
        addKeyNameRow(37, QStringLiteral("L"));
        addKeyNameRow(38, QStringLiteral("J"));
        addKeyNameRow(40, QStringLiteral("K"));
        addKeyNameRow(45, QStringLiteral("N"));
        addKeyNameRow(46, QStringLiteral("M"));

        // Punctuation is shown as the character itself.
        addKeyNameRow(24, QStringLiteral("="));
        addKeyNameRow(27, QStringLiteral("-"));
        addKeyNameRow(30, QStringLiteral("]"));
        addKeyNameRow(33, QStringLiteral("["));
        addKeyNameRow(39, QStringLiteral("'"));
        addKeyNameRow(41, QStringLiteral(";"));
        addKeyNameRow(42, QStringLiteral("\\"));
        addKeyNameRow(43, QStringLiteral(","));
        addKeyNameRow(44, QStringLiteral("/"));
        addKeyNameRow(47, QStringLiteral("."));
        addKeyNameRow(50, QStringLiteral("`"));

        // Special keys; the glyphs are given by code point so the expectation does not depend
        // on how this file's encoding is read.
        addKeyNameRow(36, glyph(0x21A9)); // return
        addKeyNameRow(48, glyph(0x21E5)); // tab
        addKeyNameRow(49, QStringLiteral("Space"));
        addKeyNameRow(51, glyph(0x232B));  // delete
        addKeyNameRow(53, glyph(0x238B));  // escape
        addKeyNameRow(115, glyph(0x2196)); // home
        addKeyNameRow(116, QStringLiteral("PgUp"));
        addKeyNameRow(117, glyph(0x2326)); // forward delete
        addKeyNameRow(119, glyph(0x2198)); // end
        addKeyNameRow(121, QStringLiteral("PgDn"));
        addKeyNameRow(123, glyph(0x2190)); // left arrow
        addKeyNameRow(124, glyph(0x2192)); // right arrow
        addKeyNameRow(125, glyph(0x2193)); // down arrow
        addKeyNameRow(126, glyph(0x2191)); // up arrow

        // Function keys are scattered over the code range.
        addKeyNameRow(122, QStringLiteral("F1"));
        addKeyNameRow(120, QStringLiteral("F2"));
        addKeyNameRow(99, QStringLiteral("F3"));
        addKeyNameRow(118, QStringLiteral("F4"));
        addKeyNameRow(96, QStringLiteral("F5"));
        addKeyNameRow(97, QStringLiteral("F6"));
        addKeyNameRow(98, QStringLiteral("F7"));
        addKeyNameRow(100, QStringLiteral("F8"));
        addKeyNameRow(101, QStringLiteral("F9"));
        addKeyNameRow(109, QStringLiteral("F10"));
        addKeyNameRow(103, QStringLiteral("F11"));
        addKeyNameRow(111, QStringLiteral("F12"));

        // Codes without a name of their own (keypad, media and unused codes).
        QList<int> unnamed{10, 52, 102, 110, 112, 113, 114};
        for (int code = 54; code <= 95; ++code) {
            unnamed.append(code);
        }
        for (int code = 104; code <= 108; ++code) {
            unnamed.append(code);
        }
        for (const int code : unnamed) {
            addKeyNameRow(code, QStringLiteral("Key") + QString::number(code));
        }

        // Everything from 127 up falls back as well, up to the largest 16-bit code.
        for (const int code : {127, 128, 130, 200, 255, 256, 1000, 65535}) {
            addKeyNameRow(code, QStringLiteral("Key") + QString::number(code));
        }
    }

    void keyName() {
        QFETCH(int, keyCode);
        QFETCH(QString, name);

        QCOMPARE(SeekAction::keyName(static_cast<std::uint16_t>(keyCode)), name);
    }

    void keyNameFallbackIsDecimal() {
        // Spelled out once, so the fallback rows above cannot agree with a wrong format.
        QCOMPARE(SeekAction::keyName(10), QStringLiteral("Key10"));
        QCOMPARE(SeekAction::keyName(130), QStringLiteral("Key130"));
        QCOMPARE(SeekAction::keyName(65535), QStringLiteral("Key65535"));
    }

    void displayString_data() {
        QTest::addColumn<int>("keyCode");
        QTest::addColumn<std::uint32_t>("modifiers");
        QTest::addColumn<QString>("text");

        const QString control = glyph(0x2303);
        const QString option = glyph(0x2325);
        const QString shift = glyph(0x21E7);
        const QString command = glyph(0x2318);

        QTest::newRow("default forward")
            << 124 << std::uint32_t{6400} << control + option + command + glyph(0x2192);
        QTest::newRow("default backward")
            << 123 << std::uint32_t{6400} << control + option + command + glyph(0x2190);
        QTest::newRow("control shift space")
            << 49 << std::uint32_t{4096 + 512} << control + shift + QStringLiteral("Space");
        QTest::newRow("no modifiers, unnamed key") << 10 << std::uint32_t{0} << "Key10";
        QTest::newRow("no modifiers") << 0 << std::uint32_t{0} << "A";
        QTest::newRow("command") << 0 << std::uint32_t{256} << command + QStringLiteral("A");
        QTest::newRow("shift") << 0 << std::uint32_t{512} << shift + QStringLiteral("A");
        QTest::newRow("option") << 0 << std::uint32_t{2048} << option + QStringLiteral("A");
        QTest::newRow("control") << 0 << std::uint32_t{4096} << control + QStringLiteral("A");
        // Whatever order the bits are in, the glyphs always read control, option, shift, command.
        QTest::newRow("all four") << 0 << std::uint32_t{256 | 512 | 2048 | 4096}
                                  << control + option + shift + command + QStringLiteral("A");
        QTest::newRow("command shift")
            << 1 << std::uint32_t{256 | 512} << shift + command + QStringLiteral("S");
        QTest::newRow("unknown bits ignored") << 0 << std::uint32_t{0x1 | 0x400 | 0x10000} << "A";
        QTest::newRow("unknown bits beside known ones")
            << 0 << std::uint32_t{0xFFFFFFFF} << control + option + shift + command + "A";
        QTest::newRow("modifier on fallback key")
            << 200 << std::uint32_t{2048} << option + QStringLiteral("Key200");
    }

    void displayString() {
        QFETCH(int, keyCode);
        QFETCH(std::uint32_t, modifiers);
        QFETCH(QString, text);

        QCOMPARE(SeekAction::displayString(static_cast<std::uint16_t>(keyCode), modifiers,
                                           KeyTable::ModifierStyle::glyphs),
                 text);
    }

    void modifierBitsHaveThePlatformValues() {
        // Both masks are persisted and exchanged with the platform, so their bit values are
        // part of the file format rather than an implementation detail.
        QCOMPARE(CarbonModifier::command, std::uint32_t{256});
        QCOMPARE(CarbonModifier::shift, std::uint32_t{512});
        QCOMPARE(CarbonModifier::option, std::uint32_t{2048});
        QCOMPARE(CarbonModifier::control, std::uint32_t{4096});
    }

    void defaultsAreForwardAndBackwardTenSeconds() {
        const QList<SeekAction>& defaults = SeekAction::defaults();
        QCOMPARE(defaults.size(), 2);

        QCOMPARE(defaults[0].direction, Direction::forward);
        QCOMPARE(defaults[0].seconds, 10.0);
        QCOMPARE(defaults[0].keyCode, std::uint16_t{124});
        QCOMPARE(defaults[0].carbonModifiers, std::uint32_t{6400});

        QCOMPARE(defaults[1].direction, Direction::backward);
        QCOMPARE(defaults[1].seconds, 10.0);
        QCOMPARE(defaults[1].keyCode, std::uint16_t{123});
        QCOMPARE(defaults[1].carbonModifiers, std::uint32_t{6400});
    }

    void defaultsKeepTheirIdsForTheWholeRun() {
        // Copies, so the second read cannot just be the same memory compared with itself.
        const QList<SeekAction> first = SeekAction::defaults();
        const QList<SeekAction> second = SeekAction::defaults();
        QCOMPARE(first, second);
        QCOMPARE(first[0].id(), second[0].id());
        QCOMPARE(first[1].id(), second[1].id());

        QVERIFY(!first[0].id().isNull());
        QVERIFY(!first[1].id().isNull());
        QVERIFY(first[0].id() != first[1].id());
    }

    void defaultsHaveTheSameIdsInEveryProcess() {
        // A desktop keeps the keys the user approved under these ids from one login to the
        // next, so they are written down, not made at start.
        QCOMPARE(uuidString(SeekAction::defaults()[0].id()),
                 QStringLiteral("53096E61-3070-40A0-B70D-A979007C793E"));
        QCOMPARE(uuidString(SeekAction::defaults()[1].id()),
                 QStringLiteral("493F347B-FF06-4C8F-92D0-7EF51C641BB8"));
    }

    void newActionsGetFreshIds() {
        const SeekAction a(Direction::forward, 10.0, 124, 6400);
        const SeekAction b(Direction::forward, 10.0, 124, 6400);
        QVERIFY(!a.id().isNull());
        QVERIFY(!b.id().isNull());
        QVERIFY(a.id() != b.id());
        QVERIFY(!(a == b));

        for (const SeekAction& fallback : SeekAction::defaults()) {
            QVERIFY(a.id() != fallback.id());
        }
    }

    void equalityComparesEveryField() {
        const SeekAction base(knownUuid(), Direction::forward, 10.0, 124, 6400);
        QVERIFY(base == SeekAction(knownUuid(), Direction::forward, 10.0, 124, 6400));

        QVERIFY(!(base == SeekAction(QUuid::createUuid(), Direction::forward, 10.0, 124, 6400)));
        QVERIFY(!(base == SeekAction(knownUuid(), Direction::backward, 10.0, 124, 6400)));
        QVERIFY(!(base == SeekAction(knownUuid(), Direction::playPause, 10.0, 124, 6400)));
        QVERIFY(!(base == SeekAction(knownUuid(), Direction::forward, 10.5, 124, 6400)));
        QVERIFY(!(base == SeekAction(knownUuid(), Direction::forward, 10.0, 123, 6400)));
        QVERIFY(!(base == SeekAction(knownUuid(), Direction::forward, 10.0, 124, 6144)));

        // The public fields are edited in place by the hotkey settings, so a changed copy must
        // compare unequal too.
        SeekAction edited = base;
        QVERIFY(edited == base);
        edited.seconds = 15.0;
        QVERIFY(!(edited == base));
    }

    void compactJsonHasTheStoredForm() {
        // Built from lower case so that the upper-case output is really produced by the writer.
        const SeekAction action(QUuid::fromString(knownId.toLower()), Direction::forward, 10.0, 124,
                                6400);
        const auto text = action.toJson().serialize(OrderedJson::Style::Compact);
        QVERIFY(text.has_value());
        QCOMPARE(*text, QByteArray(R"({"id":"0F8FAD5B-D9CB-469F-A165-70867728950E",)"
                                   R"("direction":"forward","seconds":10,"keyCode":124,)"
                                   R"("carbonModifiers":6400})"));
    }

    void compactJsonWritesFractionsAndOtherDirections() {
        const SeekAction action(knownUuid(), Direction::playPause, 2.5, 65535, 0xFFFFFFFF);
        const auto text = action.toJson().serialize(OrderedJson::Style::Compact);
        QVERIFY(text.has_value());
        QCOMPARE(*text, QByteArray(R"({"id":"0F8FAD5B-D9CB-469F-A165-70867728950E",)"
                                   R"("direction":"playPause","seconds":2.5,"keyCode":65535,)"
                                   R"("carbonModifiers":4294967295})"));
    }

    void jsonRoundTrip_data() {
        QTest::addColumn<Direction>("direction");
        QTest::addColumn<double>("seconds");
        QTest::addColumn<int>("keyCode");
        QTest::addColumn<std::uint32_t>("modifiers");

        QTest::newRow("forward") << Direction::forward << 10.0 << 124 << std::uint32_t{6400};
        QTest::newRow("backward") << Direction::backward << 5.0 << 123 << std::uint32_t{6400};
        QTest::newRow("playPause") << Direction::playPause << 0.0 << 49 << std::uint32_t{4608};
        QTest::newRow("half seconds") << Direction::forward << 2.5 << 0 << std::uint32_t{0};
        QTest::newRow("tenth of a second") << Direction::backward << 0.1 << 1 << std::uint32_t{256};
        QTest::newRow("largest key and mask")
            << Direction::forward << 30.0 << 65535 << std::uint32_t{0xFFFFFFFF};
    }

    void jsonRoundTrip() {
        QFETCH(Direction, direction);
        QFETCH(double, seconds);
        QFETCH(int, keyCode);
        QFETCH(std::uint32_t, modifiers);

        const SeekAction action(direction, seconds, static_cast<std::uint16_t>(keyCode), modifiers);
        const auto text = action.toJson().serialize(OrderedJson::Style::Compact);
        QVERIFY(text.has_value());

        QJsonParseError error;
        const QJsonDocument document = QJsonDocument::fromJson(*text, &error);
        QCOMPARE(error.error, QJsonParseError::NoError);
        QVERIFY(document.isObject());

        const auto decoded = SeekAction::fromJson(document.object());
        QVERIFY(decoded.has_value());
        QCOMPARE(*decoded, action);
    }

    void prettyJsonRoundTrips() {
        // The settings file uses the sorted, indented form; it must read back just the same.
        const SeekAction action(Direction::backward, 0.1, 123, 6400);
        const auto text = action.toJson().serialize(OrderedJson::Style::PrettySorted);
        QVERIFY(text.has_value());
        const auto decoded = SeekAction::fromJson(QJsonDocument::fromJson(*text).object());
        QVERIFY(decoded.has_value());
        QCOMPARE(*decoded, action);
    }

    void fromJsonReadsTheStoredForm() {
        const auto decoded = SeekAction::fromJson(validObject());
        QVERIFY(decoded.has_value());
        QCOMPARE(*decoded, SeekAction(knownUuid(), Direction::forward, 10.0, 124, 6400));
    }

    void fromJsonReadsLowerCaseIds() {
        const auto decoded =
            SeekAction::fromJson(withValue(QStringLiteral("id"), knownId.toLower()));
        QVERIFY(decoded.has_value());
        QCOMPARE(decoded->id(), knownUuid());
        QCOMPARE(uuidString(decoded->id()), knownId);
    }

    void fromJsonIgnoresUnknownKeys() {
        QJsonObject object = validObject();
        object.insert(QStringLiteral("label"), QStringLiteral("Forward 10s"));
        object.insert(QStringLiteral("enabled"), true);
        object.insert(QStringLiteral("extra"), QJsonArray{1, 2, 3});
        const auto decoded = SeekAction::fromJson(object);
        QVERIFY(decoded.has_value());
        QCOMPARE(*decoded, SeekAction(knownUuid(), Direction::forward, 10.0, 124, 6400));
    }

    void fromJsonRejectsMissingKeys_data() {
        QTest::addColumn<QString>("key");

        QTest::newRow("id") << "id";
        QTest::newRow("direction") << "direction";
        QTest::newRow("seconds") << "seconds";
        QTest::newRow("keyCode") << "keyCode";
        QTest::newRow("carbonModifiers") << "carbonModifiers";
    }

    void fromJsonRejectsMissingKeys() {
        QFETCH(QString, key);

        QJsonObject object = validObject();
        QVERIFY(object.contains(key));
        object.remove(key);
        QVERIFY(!SeekAction::fromJson(object).has_value());
    }

    void fromJsonRejectsBadValues_data() {
        QTest::addColumn<QString>("key");
        QTest::addColumn<QJsonValue>("value");

        const QString id = QStringLiteral("id");
        const QString direction = QStringLiteral("direction");
        const QString seconds = QStringLiteral("seconds");
        const QString keyCode = QStringLiteral("keyCode");
        const QString modifiers = QStringLiteral("carbonModifiers");

        // Wrong JSON types.
        QTest::newRow("id as number") << id << QJsonValue(1);
        QTest::newRow("id as null") << id << QJsonValue(QJsonValue::Null);
        QTest::newRow("id as object") << id << QJsonValue(QJsonObject{{id, knownId}});
        QTest::newRow("direction as number") << direction << QJsonValue(0);
        QTest::newRow("direction as bool") << direction << QJsonValue(true);
        QTest::newRow("direction as null") << direction << QJsonValue(QJsonValue::Null);
        QTest::newRow("seconds as string") << seconds << QJsonValue(QStringLiteral("10"));
        QTest::newRow("seconds as bool") << seconds << QJsonValue(true);
        QTest::newRow("seconds as null") << seconds << QJsonValue(QJsonValue::Null);
        QTest::newRow("seconds as array") << seconds << QJsonValue(QJsonArray{10});
        QTest::newRow("keyCode as string") << keyCode << QJsonValue(QStringLiteral("124"));
        QTest::newRow("keyCode as bool") << keyCode << QJsonValue(true);
        QTest::newRow("keyCode as null") << keyCode << QJsonValue(QJsonValue::Null);
        QTest::newRow("carbonModifiers as string")
            << modifiers << QJsonValue(QStringLiteral("6400"));
        QTest::newRow("carbonModifiers as bool") << modifiers << QJsonValue(false);
        QTest::newRow("carbonModifiers as array") << modifiers << QJsonValue(QJsonArray{6400});

        // Directions are matched exactly against the three raw values.
        QTest::newRow("direction capitalised")
            << direction << QJsonValue(QStringLiteral("Forward"));
        QTest::newRow("direction unknown") << direction << QJsonValue(QStringLiteral("seek"));
        QTest::newRow("direction empty") << direction << QJsonValue(QString());
        QTest::newRow("direction lower-cased playPause")
            << direction << QJsonValue(QStringLiteral("playpause"));

        // Only the bare 36-character form is an id.
        QTest::newRow("id in braces")
            << id << QJsonValue(QStringLiteral("{") + knownId + QStringLiteral("}"));
        QTest::newRow("id without dashes") << id << QJsonValue(QString(knownId).remove(u'-'));
        QTest::newRow("id too short") << id << QJsonValue(knownId.left(35));
        QTest::newRow("id with non-hex digit")
            << id << QJsonValue(QString(knownId).replace(0, 1, u'G'));
        QTest::newRow("id with misplaced dash")
            << id << QJsonValue(QStringLiteral("0F8FAD5BD-9CB-469F-A165-70867728950E"));
        QTest::newRow("id empty") << id << QJsonValue(QString());
        QTest::newRow("id with spaces") << id << QJsonValue(QStringLiteral(" ") + knownId);

        // Values the 16-bit key code and the 32-bit mask cannot hold.
        QTest::newRow("keyCode 65536") << keyCode << QJsonValue(65536);
        QTest::newRow("keyCode -1") << keyCode << QJsonValue(-1);
        QTest::newRow("keyCode 1.5") << keyCode << QJsonValue(1.5);
        QTest::newRow("carbonModifiers 4294967296") << modifiers << QJsonValue(4294967296.0);
        QTest::newRow("carbonModifiers -1") << modifiers << QJsonValue(-1);
        QTest::newRow("carbonModifiers 0.5") << modifiers << QJsonValue(0.5);

        // Seconds whose whole part does not fit a signed 64-bit integer could never be shown.
        QTest::newRow("seconds 1e300") << seconds << QJsonValue(1e300);
        QTest::newRow("seconds -1e300") << seconds << QJsonValue(-1e300);
        QTest::newRow("seconds 2^63") << seconds << QJsonValue(9223372036854775808.0);
    }

    void fromJsonRejectsBadValues() {
        QFETCH(QString, key);
        QFETCH(QJsonValue, value);

        // The untouched object decodes, so only the one bad value can make it fail.
        QVERIFY(SeekAction::fromJson(validObject()).has_value());
        QVERIFY(!SeekAction::fromJson(withValue(key, value)).has_value());
    }

    void fromJsonRejectsNonObjects_data() {
        QTest::addColumn<QJsonValue>("value");

        QTest::newRow("array") << QJsonValue(QJsonArray{validObject()});
        QTest::newRow("string") << QJsonValue(QStringLiteral("forward"));
        QTest::newRow("number") << QJsonValue(10);
        QTest::newRow("null") << QJsonValue(QJsonValue::Null);
        QTest::newRow("undefined") << QJsonValue(QJsonValue::Undefined);
    }

    void fromJsonRejectsNonObjects() {
        QFETCH(QJsonValue, value);

        QVERIFY(!SeekAction::fromJson(value).has_value());
    }

    void fromJsonRejectsHugeSecondsFromText() {
        // The same refusal when the number comes from the settings file's text.
        const QByteArray text = R"({"id":"0F8FAD5B-D9CB-469F-A165-70867728950E",)"
                                R"("direction":"forward","seconds":1e300,"keyCode":124,)"
                                R"("carbonModifiers":6400})";
        const QJsonDocument document = QJsonDocument::fromJson(text);
        QVERIFY(document.isObject());
        QVERIFY(!SeekAction::fromJson(document.object()).has_value());
    }
};

QTEST_GUILESS_MAIN(TestSeekAction)
#include "tst_seekaction.moc"
