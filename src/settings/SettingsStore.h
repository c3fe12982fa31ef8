#pragma once

#include "settings/SettingsKeys.h"

#include <QByteArray>
#include <QObject>
#include <QSettings>
#include <QTimer>

#include <memory>
#include <optional>

// The per-user key-value store with Bool, Double, data and string values. A write is read back
// at once; the file is written once for a burst of writes, on the next turn of the event loop,
// so that a reset or an import does not rewrite it a dozen times on the GUI thread. Whoever
// ends the program flushes it first (see flush()).
class SettingsStore : public QObject {
    Q_OBJECT

public:
    explicit SettingsStore(std::unique_ptr<QSettings> settings, QObject* parent = nullptr);
    ~SettingsStore() override;

    // Nothing when the key is absent or holds something that is not of the asked type.
    std::optional<bool> boolValue(const QString& key) const;
    std::optional<double> doubleValue(const QString& key) const;
    std::optional<QByteArray> dataValue(const QString& key) const;
    std::optional<QString> stringValue(const QString& key) const;
    // Whether the key holds anything at all, readable or not.
    bool contains(const QString& key) const;

    // A value of the settings table: its default when absent or unreadable.
    bool value(const Setting<bool>& setting) const;
    double value(const Setting<double>& setting) const;

    void setBool(const QString& key, bool value);
    void setDouble(const QString& key, double value);
    void setData(const QString& key, const QByteArray& value);
    void setString(const QString& key, const QString& value);

    QString fileName() const;

    // Writes what is still waiting for the file now, if anything is: at the end of the program
    // and of the session, when no later turn of the event loop may come.
    void flush();
    bool hasUnsavedWrites() const { return m_syncLater.isActive(); }

signals:
    // After `key` was written; the file follows with the rest of the burst.
    void written(const QString& key);
    // After the file was written (a failed write is logged).
    void synced();

private:
    void write(const QString& key, const QVariant& value);
    void sync();

    std::unique_ptr<QSettings> m_settings;
    QTimer m_syncLater;
    // The keys of the burst, named in the log when the file cannot be written.
    QStringList m_unsavedKeys;
};
