#pragma once

#include "models/MediaApp.h"
#include "models/SeekAction.h"
#include "utilities/OrderedJson.h"

#include <QByteArray>
#include <QJsonValue>
#include <QList>

#include <optional>

// The JSON forms of the settings values, shared by the defaults database and the settings file.
namespace SettingsCoding {

// Larger input is refused unread: a real settings document is a few kilobytes.
inline constexpr qsizetype maxDocumentBytes = 1024 * 1024;

// The one JSON value in `bytes` (UTF-8, an optional byte-order mark allowed), or nothing for
// anything else: malformed, not UTF-8, too large or too deeply nested.
std::optional<QJsonValue> parse(const QByteArray& bytes);

OrderedJson encodeApps(const QList<MediaApp>& apps);
OrderedJson encodeApps(const MediaAppSet& apps);
OrderedJson encodeSeekActions(const QList<SeekAction>& actions);

// Nothing unless `value` is an array whose every member decodes; one unknown member fails all.
std::optional<QList<MediaApp>> decodeApps(const QJsonValue& value);
std::optional<MediaAppSet> decodeAppSet(const QJsonValue& value);
std::optional<QList<SeekAction>> decodeSeekActions(const QJsonValue& value);

} // namespace SettingsCoding
