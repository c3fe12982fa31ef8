#include "SeekAction.h"

#include <QJsonObject>

#include <cmath>
#include <limits>

namespace {

// Whether `seconds` truncates to a value a signed 64-bit integer holds.
bool fitsWholeSeconds(double seconds) {
    return std::isfinite(seconds) && seconds >= -0x1p63 && seconds < 0x1p63;
}

// A JSON number that is a whole value within [0, max].
std::optional<std::uint64_t> unsignedInteger(const QJsonValue& value, std::uint64_t max) {
    if (!value.isDouble()) {
        return std::nullopt;
    }
    const double number = value.toDouble();
    if (number != std::trunc(number) || number < 0 || number > static_cast<double>(max)) {
        return std::nullopt;
    }
    return static_cast<std::uint64_t>(number);
}

} // namespace

QString SeekAction::rawValue(Direction direction) {
    switch (direction) {
    case Direction::forward:
        return QStringLiteral("forward");
    case Direction::backward:
        return QStringLiteral("backward");
    case Direction::playPause:
        return QStringLiteral("playPause");
    }
    qFatal("SeekAction: unknown direction %d", static_cast<int>(direction));
}

std::optional<SeekAction::Direction> SeekAction::directionFromRawValue(QStringView rawValue) {
    for (Direction direction : allDirections()) {
        if (rawValue == SeekAction::rawValue(direction)) {
            return direction;
        }
    }
    return std::nullopt;
}

SeekAction::SeekAction(Direction direction_, double seconds_, std::uint16_t keyCode_,
                       std::uint32_t carbonModifiers_)
    : SeekAction(QUuid::createUuid(), direction_, seconds_, keyCode_, carbonModifiers_) {}

SeekAction::SeekAction(const QUuid& id, Direction direction_, double seconds_,
                       std::uint16_t keyCode_, std::uint32_t carbonModifiers_)
    : direction(direction_)
    , seconds(seconds_)
    , keyCode(keyCode_)
    , carbonModifiers(carbonModifiers_)
    , m_id(id) {}

const QList<SeekAction>& SeekAction::defaults() {
    // Control + option + command, deliberately without shift.
    static constexpr std::uint32_t mask =
        CarbonModifier::control | CarbonModifier::option | CarbonModifier::command;
    // Fixed ids, the same at every start and in every copy: a desktop that keeps the keys the
    // user approved under each shortcut's id would otherwise take the presets, which are not
    // saved until edited, for new shortcuts at every login.
    static const QList<SeekAction> actions{
        SeekAction(QUuid(QStringLiteral("53096E61-3070-40A0-B70D-A979007C793E")),
                   Direction::forward, 10.0, 124, mask),
        SeekAction(QUuid(QStringLiteral("493F347B-FF06-4C8F-92D0-7EF51C641BB8")),
                   Direction::backward, 10.0, 123, mask),
    };
    return actions;
}

std::int64_t SeekAction::wholeSeconds(double seconds) {
    if (!fitsWholeSeconds(seconds)) {
        qFatal("SeekAction: %g seconds cannot be shown as a whole number of seconds", seconds);
    }
    return static_cast<std::int64_t>(seconds);
}

QString SeekAction::label() const {
    switch (direction) {
    case Direction::forward:
        return QStringLiteral("Forward %1s").arg(wholeSeconds(seconds));
    case Direction::backward:
        return QStringLiteral("Backward %1s").arg(wholeSeconds(seconds));
    case Direction::playPause:
        return QStringLiteral("Play/Pause");
    }
    qFatal("SeekAction: unknown direction %d", static_cast<int>(direction));
}

double SeekAction::signedSeconds() const {
    switch (direction) {
    case Direction::forward:
        return seconds;
    case Direction::backward:
        return -seconds;
    case Direction::playPause:
        break;
    }
    return 0.0;
}

QString SeekAction::directionIcon() const {
    if (direction == Direction::playPause) {
        return QStringLiteral("playpause");
    }
    const QString base = direction == Direction::forward ? QStringLiteral("goforward")
                                                         : QStringLiteral("gobackward");
    switch (wholeSeconds(seconds)) {
    case 5:
    case 10:
    case 15:
    case 30:
    case 45:
    case 60:
        return base + QLatin1Char('.') + QString::number(wholeSeconds(seconds));
    default:
        return base;
    }
}

OrderedJson SeekAction::toJson() const {
    return OrderedJson::Object{
        {QStringLiteral("id"), uuidString(m_id)},
        {QStringLiteral("direction"), rawValue(direction)},
        {QStringLiteral("seconds"), seconds},
        {QStringLiteral("keyCode"), std::int64_t{keyCode}},
        {QStringLiteral("carbonModifiers"), std::int64_t{carbonModifiers}},
    };
}

std::optional<SeekAction> SeekAction::fromJson(const QJsonValue& value) {
    if (!value.isObject()) {
        return std::nullopt;
    }
    const QJsonObject object = value.toObject();
    const QJsonValue id = object.value(QLatin1StringView("id"));
    const QJsonValue direction = object.value(QLatin1StringView("direction"));
    const QJsonValue seconds = object.value(QLatin1StringView("seconds"));
    if (!id.isString() || !direction.isString() || !seconds.isDouble()) {
        return std::nullopt;
    }
    const auto uuid = uuidFromString(id.toString());
    const auto parsedDirection = directionFromRawValue(direction.toString());
    const auto keyCode = unsignedInteger(object.value(QLatin1StringView("keyCode")), 0xFFFF);
    const auto modifiers =
        unsignedInteger(object.value(QLatin1StringView("carbonModifiers")), 0xFFFFFFFF);
    // Seconds that could not be shown as a whole number are refused here, so nothing read from
    // disk can reach the fatal path of label() and directionIcon().
    if (!uuid || !parsedDirection || !keyCode || !modifiers ||
        !fitsWholeSeconds(seconds.toDouble())) {
        return std::nullopt;
    }
    return SeekAction(*uuid, *parsedDirection, seconds.toDouble(),
                      static_cast<std::uint16_t>(*keyCode), static_cast<std::uint32_t>(*modifiers));
}

QString uuidString(const QUuid& id) {
    return id.toString(QUuid::WithoutBraces).toUpper();
}

std::optional<QUuid> uuidFromString(const QString& text) {
    if (text.size() != 36) {
        return std::nullopt;
    }
    for (qsizetype i = 0; i < text.size(); ++i) {
        const QChar c = text.at(i);
        const bool dash = i == 8 || i == 13 || i == 18 || i == 23;
        const bool hex =
            (c >= u'0' && c <= u'9') || (c >= u'a' && c <= u'f') || (c >= u'A' && c <= u'F');
        if (dash ? c != u'-' : !hex) {
            return std::nullopt;
        }
    }
    return QUuid::fromString(text);
}
