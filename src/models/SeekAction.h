#pragma once

#include "models/KeyTable.h"
#include "utilities/OrderedJson.h"

#include <QJsonValue>
#include <QList>
#include <QString>
#include <QUuid>

#include <array>
#include <cstdint>
#include <optional>

// One user-configured hotkey: seek forward or backward by `seconds`, or toggle play/pause.
class SeekAction {
public:
    enum class Direction { forward, backward, playPause };

    static constexpr std::array<Direction, 3> allDirections() {
        return {Direction::forward, Direction::backward, Direction::playPause};
    }
    static QString rawValue(Direction direction);
    static std::optional<Direction> directionFromRawValue(QStringView rawValue);

    // A new action with a fresh random id.
    SeekAction(Direction direction, double seconds, std::uint16_t keyCode,
               std::uint32_t carbonModifiers);
    SeekAction(const QUuid& id, Direction direction, double seconds, std::uint16_t keyCode,
               std::uint32_t carbonModifiers);

    // The two preset actions, under ids that never change.
    static const QList<SeekAction>& defaults();

    const QUuid& id() const { return m_id; }

    Direction direction;
    double seconds;
    std::uint16_t keyCode;
    std::uint32_t carbonModifiers;

    QString label() const;
    QString directionIcon() const;
    // What a press of the action asks the media controller for: forward positive, backward
    // negative, play/pause exactly 0.
    double signedSeconds() const;
    // `seconds` truncated toward zero, as labels show steps; stops the process for values no
    // stored action can hold.
    static std::int64_t wholeSeconds(double seconds);

    // The key table answers these; they stay here for code that holds an action in hand.
    static QString keyName(std::uint16_t keyCode) { return KeyTable::keyName(keyCode); }
    static QString displayString(std::uint16_t keyCode, std::uint32_t modifiers,
                                 KeyTable::ModifierStyle style) {
        return KeyTable::displayString(keyCode, modifiers, style);
    }

    // The JSON object the defaults database and the settings file hold.
    OrderedJson toJson() const;
    // Nothing when a key is missing, a value has the wrong type or is out of range, or the
    // direction is unknown. Extra keys are ignored.
    static std::optional<SeekAction> fromJson(const QJsonValue& value);

    friend bool operator==(const SeekAction&, const SeekAction&) = default;

private:
    QUuid m_id;
};

// Upper-case textual form of a UUID, as the reference platform writes it.
QString uuidString(const QUuid& id);
// Reads the 36-character textual form in either case; braces or other forms are refused.
std::optional<QUuid> uuidFromString(const QString& text);
