#pragma once

#include "platform/DesktopIntegration.h"

#include <QStringList>

// The desktop as the views see it, with the window behaviours only macOS acts on written down
// in order: "regular", "accessory", "float", "unfloat". Its texts are the Linux desktop's.
class RecordingDesktop final : public DesktopIntegration {
public:
    explicit RecordingDesktop(const PlatformTexts& texts)
        : m_texts(texts) {}

    const PlatformTexts& texts() const override { return m_texts; }
    QString systemDescription() const override {
        return QStringLiteral("Testix 1 | Linux 6.0 | x86_64");
    }
    bool canOpenSettings(SettingsPane /*pane*/) const override { return m_canOpenSettings; }
    void openSettings(SettingsPane pane) override {
        m_calls << (pane == SettingsPane::automation ? QStringLiteral("openAutomation")
                                                     : QStringLiteral("openAccessibility"));
    }
    void setCanOpenSettings(bool can) { m_canOpenSettings = can; }
    void showOnEveryDesktop(std::uintptr_t /*nativeWindow*/) override {
        m_calls << QStringLiteral("everyDesktop");
    }
    void setRegularActivation(bool regular) override {
        m_calls << (regular ? QStringLiteral("regular") : QStringLiteral("accessory"));
    }
    void setFloating(std::uintptr_t /*nativeWindow*/, bool floating) override {
        m_calls << (floating ? QStringLiteral("float") : QStringLiteral("unfloat"));
    }
    bool placesOwnWindows() const override { return true; }

    const QStringList& calls() const { return m_calls; }
    void clear() { m_calls.clear(); }

private:
    PlatformTexts m_texts;
    bool m_canOpenSettings = true;
    QStringList m_calls;
};
