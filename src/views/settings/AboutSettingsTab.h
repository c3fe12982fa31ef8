#pragma once

#include "core/WebAddresses.h"

#include <QString>
#include <QWidget>

#include <optional>

class QLabel;
class QPushButton;
class SymbolView;
class TintedLabel;
class UpdateChecker;

// The settings tab that names the program, its version and the system it runs on, copies a
// one-line summary for bug reports, and checks for a newer version when asked, never otherwise.
class AboutSettingsTab : public QWidget {
    Q_OBJECT

public:
    struct Info {
        // Empty where the build set none; the tab shows its fallbacks then.
        QString version;
        QString build;
        // The system and processor, as the platform describes them.
        QString system;
        WebAddresses web;
        QString developer;
    };

    static constexpr int copiedMs = 2000;

    explicit AboutSettingsTab(Info info, QWidget* parent = nullptr);
    ~AboutSettingsTab() override;

    QString appVersion() const;
    QString buildNumber() const;
    // "Scrubline <version> (<build>) | <system>", on one line.
    QString debugInfo() const;

    bool isCopied() const { return m_copied; }
    bool isCheckingUpdate() const;
    const std::optional<QString>& updateStatus() const { return m_updateStatus; }

    void copyDebugInfo();
    void checkForUpdates();

    // How long "Copied" shows; shorter in tests.
    void setCopiedDuration(int milliseconds) { m_copiedMs = milliseconds; }
    // How long the update check waits for the server; shorter in tests.
    void setUpdateTimeout(int milliseconds);

signals:
    // An update check ended, with the line it shows.
    void updateChecked(const QString& status);

private:
    QWidget* makeHeader();
    QWidget* makeRow(const QString& title, QWidget* value);
    void showState();
    void tintCopyButton();

    Info m_info;
    bool m_copied = false;
    int m_copiedMs = copiedMs;
    std::optional<QString> m_updateStatus;
    bool m_updateAvailable = false;
    UpdateChecker* m_checker = nullptr;
    QLabel* m_name = nullptr;
    QLabel* m_version = nullptr;
    QLabel* m_system = nullptr;
    QPushButton* m_copy = nullptr;
    QPushButton* m_check = nullptr;
    TintedLabel* m_status = nullptr;
    QLabel* m_download = nullptr;
    SymbolView* m_symbol = nullptr;
};
