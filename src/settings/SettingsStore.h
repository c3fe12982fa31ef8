#pragma once

#include <QByteArray>
#include <QObject>
#include <QSettings>

#include <memory>
#include <optional>

// The per-user key-value store with Bool, Double, data and string values. Every write reaches the
// disk before the call returns, so a crash right after a change loses nothing.
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

    void setBool(const QString& key, bool value);
    void setDouble(const QString& key, double value);
    void setData(const QString& key, const QByteArray& value);
    void setString(const QString& key, const QString& value);

    QString fileName() const;

signals:
    // After `key` was written and flushed to disk (a failed flush is logged).
    void written(const QString& key);

private:
    void write(const QString& key, const QVariant& value);

    std::unique_ptr<QSettings> m_settings;
};
