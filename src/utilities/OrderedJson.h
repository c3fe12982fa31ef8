#pragma once

#include <QByteArray>
#include <QString>

#include <cstdint>
#include <optional>
#include <utility>
#include <variant>
#include <vector>

// A JSON value whose object members keep the order they were added in. Qt's own JSON classes
// always sort object keys, but the defaults database holds members in declaration order and the
// settings file sorts them, so both forms are written from this one tree.
class OrderedJson {
public:
    using Array = std::vector<OrderedJson>;
    using Member = std::pair<QString, OrderedJson>;
    using Object = std::vector<Member>;

    enum class Style {
        Compact,      // no white space, members in the order given
        PrettySorted, // two-space indentation, "key" : value, members sorted by key at every level
    };

    OrderedJson()
        : m_value(nullptr) {}
    OrderedJson(bool value)
        : m_value(value) {} // NOLINT
    OrderedJson(std::int64_t value)
        : m_value(value) {} // NOLINT
    OrderedJson(double value)
        : m_value(value) {} // NOLINT
    OrderedJson(QString value)
        : m_value(std::move(value)) {} // NOLINT
    OrderedJson(Array value)
        : m_value(std::move(value)) {} // NOLINT
    OrderedJson(Object value)
        : m_value(std::move(value)) {} // NOLINT

    // The text, or nothing when a number is not finite (JSON cannot express it).
    std::optional<QByteArray> serialize(Style style) const;

private:
    bool write(QByteArray& out, Style style, int depth) const;

    std::variant<std::nullptr_t, bool, std::int64_t, double, QString, Array, Object> m_value;
};
