#include "SettingsStore.h"

#include "utilities/Logger.h"

#include <cmath>

SettingsStore::SettingsStore(std::unique_ptr<QSettings> settings, QObject* parent)
    : QObject(parent)
    , m_settings(std::move(settings)) {
    m_syncLater.setSingleShot(true);
    m_syncLater.setInterval(0);
    connect(&m_syncLater, &QTimer::timeout, this, &SettingsStore::sync);
    // The file is read on first use; read it now so a damaged one is reported at once.
    m_settings->contains(QStringLiteral("launchAtLogin"));
    if (m_settings->status() == QSettings::FormatError) {
        // The keys that could be read stay in force; what is broken is overwritten on save.
        qCCritical(Log::general(), "Settings file %s is malformed; defaults stay in force",
                   qUtf8Printable(m_settings->fileName()));
    }
}

SettingsStore::~SettingsStore() {
    flush();
}

std::optional<bool> SettingsStore::boolValue(const QString& key) const {
    const QVariant value = m_settings->value(key);
    if (value.typeId() == QMetaType::Bool) {
        return value.toBool();
    }
    // Text-based stores hand every value back as a string.
    const QString text = value.toString();
    if (text == QLatin1StringView("true") || text == QLatin1StringView("1")) {
        return true;
    }
    if (text == QLatin1StringView("false") || text == QLatin1StringView("0")) {
        return false;
    }
    return std::nullopt;
}

std::optional<double> SettingsStore::doubleValue(const QString& key) const {
    const QVariant value = m_settings->value(key);
    if (!value.isValid()) {
        return std::nullopt;
    }
    bool ok = false;
    const double number = value.toDouble(&ok);
    if (!ok || !std::isfinite(number)) {
        return std::nullopt;
    }
    return number;
}

std::optional<QByteArray> SettingsStore::dataValue(const QString& key) const {
    const QVariant value = m_settings->value(key);
    if (value.typeId() == QMetaType::QByteArray) {
        return value.toByteArray();
    }
    // A value edited by hand into the file comes back as text: hand its bytes to the decoder,
    // which refuses them if they are not what the key holds.
    if (value.typeId() == QMetaType::QString) {
        return value.toString().toUtf8();
    }
    return std::nullopt;
}

std::optional<QString> SettingsStore::stringValue(const QString& key) const {
    const QVariant value = m_settings->value(key);
    if (value.typeId() == QMetaType::QString) {
        return value.toString();
    }
    return std::nullopt;
}

void SettingsStore::setBool(const QString& key, bool value) {
    write(key, value);
}

void SettingsStore::setDouble(const QString& key, double value) {
    write(key, value);
}

void SettingsStore::setData(const QString& key, const QByteArray& value) {
    write(key, value);
}

void SettingsStore::setString(const QString& key, const QString& value) {
    write(key, value);
}

bool SettingsStore::contains(const QString& key) const {
    return m_settings->contains(key);
}

bool SettingsStore::value(const Setting<bool>& setting) const {
    return boolValue(setting.key).value_or(setting.defaultValue);
}

double SettingsStore::value(const Setting<double>& setting) const {
    return doubleValue(setting.key).value_or(setting.defaultValue);
}

QString SettingsStore::fileName() const {
    return m_settings->fileName();
}

void SettingsStore::write(const QString& key, const QVariant& value) {
    m_settings->setValue(key, value);
    if (!m_unsavedKeys.contains(key)) {
        m_unsavedKeys.append(key);
    }
    // Not restarted by later writes: a burst is what one turn of the event loop wrote.
    if (!m_syncLater.isActive()) {
        m_syncLater.start();
    }
    emit written(key);
}

void SettingsStore::flush() {
    if (m_syncLater.isActive()) {
        m_syncLater.stop();
        sync();
    }
}

void SettingsStore::sync() {
    m_settings->sync();
    // A format error stays reported after the file was read; only an access error means the
    // write itself failed.
    if (m_settings->status() == QSettings::AccessError) {
        for (const QString& key : std::as_const(m_unsavedKeys)) {
            qCCritical(Log::general(), "Could not save \"%s\" to %s", qUtf8Printable(key),
                       qUtf8Printable(m_settings->fileName()));
        }
    }
    m_unsavedKeys.clear();
    emit synced();
}
