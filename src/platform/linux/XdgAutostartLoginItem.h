#pragma once

#include "platform/LoginItem.h"

#include <QString>

// A desktop entry in the user's XDG autostart folder that starts `executablePath` at login.
class XdgAutostartLoginItem final : public LoginItem {
public:
    explicit XdgAutostartLoginItem(QString executablePath);

    QString setEnabled(bool enabled) override;
    // An entry that starts another program, or that the desktop was told to skip, is not ours
    // to count on.
    bool isEnabled() const override;

    // $XDG_CONFIG_HOME/autostart/scrubline.desktop, ~/.config when the variable is unset.
    static QString entryPath();
    // The Exec value that starts `executablePath`, quoted as desktop entries require.
    static QString execValue(const QString& executablePath);

private:
    QString m_executablePath;
};
