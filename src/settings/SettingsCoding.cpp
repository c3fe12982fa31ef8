#include "SettingsCoding.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonParseError>

namespace SettingsCoding {

std::optional<QJsonValue> parse(const QByteArray& bytes) {
    if (bytes.size() > maxDocumentBytes) {
        return std::nullopt;
    }
    QByteArrayView text(bytes);
    if (text.startsWith("\xEF\xBB\xBF")) {
        text = text.sliced(3);
    }
    // Wrapped in an array so that the parser, which wants an object or array at the top, also
    // takes a document of any other JSON value; its nesting limit guards the stack.
    QByteArray wrapped;
    wrapped.reserve(text.size() + 2);
    wrapped.append('[').append(text).append(']');
    QJsonParseError error{};
    const QJsonDocument document = QJsonDocument::fromJson(wrapped, &error);
    if (error.error != QJsonParseError::NoError || document.array().size() != 1) {
        return std::nullopt;
    }
    return document.array().first();
}

OrderedJson encodeApps(const QList<MediaApp>& apps) {
    OrderedJson::Array array;
    for (MediaApp app : apps) {
        array.emplace_back(app.rawValue());
    }
    return array;
}

OrderedJson encodeApps(const MediaAppSet& apps) {
    return encodeApps(QList<MediaApp>(apps.begin(), apps.end()));
}

OrderedJson encodeSeekActions(const QList<SeekAction>& actions) {
    OrderedJson::Array array;
    for (const SeekAction& action : actions) {
        array.push_back(action.toJson());
    }
    return array;
}

namespace {

// Nothing unless every member of the array decodes.
template <typename T, typename DecodeOne>
std::optional<QList<T>> decodeArray(const QJsonValue& value, DecodeOne decodeOne) {
    if (!value.isArray()) {
        return std::nullopt;
    }
    QList<T> decoded;
    for (const QJsonValue member : value.toArray()) {
        std::optional<T> one = decodeOne(member);
        if (!one) {
            return std::nullopt;
        }
        decoded.append(std::move(*one));
    }
    return decoded;
}

} // namespace

std::optional<QList<MediaApp>> decodeApps(const QJsonValue& value) {
    return decodeArray<MediaApp>(value, [](const QJsonValue& member) {
        return member.isString() ? MediaApp::fromRawValue(member.toString()) : std::nullopt;
    });
}

std::optional<MediaAppSet> decodeAppSet(const QJsonValue& value) {
    const auto apps = decodeApps(value);
    if (!apps) {
        return std::nullopt;
    }
    return MediaAppSet(apps->begin(), apps->end());
}

std::optional<QList<SeekAction>> decodeSeekActions(const QJsonValue& value) {
    return decodeArray<SeekAction>(value, &SeekAction::fromJson);
}

} // namespace SettingsCoding
