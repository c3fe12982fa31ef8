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

std::optional<QList<MediaApp>> decodeApps(const QJsonValue& value) {
    if (!value.isArray()) {
        return std::nullopt;
    }
    QList<MediaApp> apps;
    for (const QJsonValue member : value.toArray()) {
        const auto app =
            member.isString() ? MediaApp::fromRawValue(member.toString()) : std::nullopt;
        if (!app) {
            return std::nullopt;
        }
        apps.append(*app);
    }
    return apps;
}

std::optional<QList<SeekAction>> decodeSeekActions(const QJsonValue& value) {
    if (!value.isArray()) {
        return std::nullopt;
    }
    QList<SeekAction> actions;
    for (const QJsonValue member : value.toArray()) {
        auto action = SeekAction::fromJson(member);
        if (!action) {
            return std::nullopt;
        }
        actions.append(*action);
    }
    return actions;
}

} // namespace SettingsCoding
