#pragma once

#include "platform/PlatformTexts.h"
#include "views/widgets/Style.h"

#include <QPointer>
#include <QWidget>

class AppSettings;
class FormSection;
class FormSwitch;
class QFileDialog;
class QMessageBox;
class QPushButton;
class SegmentedControl;
class TintedLabel;

// The settings window's first tab: launch at login, the tray (menu bar) icon, the seek
// overlay and how long feedback shows, backup and restore of the settings file, and a reset.
// The toggles and the duration follow the store live, so an import or a reset shows at once.
class GeneralSettingsTab : public QWidget {
    Q_OBJECT

public:
    // How long the result line of an import stays, in milliseconds.
    static constexpr int importMessageMs = 3000;

    GeneralSettingsTab(AppSettings& settings, const PlatformTexts& texts,
                       QWidget* parent = nullptr);
    ~GeneralSettingsTab() override;

private:
    FormSection* makeTogglesSection();
    FormSection* makeFeedbackSection();
    FormSection* makeHiddenIconSection();
    FormSection* makeBackupSection();
    FormSection* makeResetSection();

    void showFromStore();

    void switchIcon(bool show);
    void confirmHidingIcon();
    // The view's own flag; the store follows on the next turn of the event loop where asked.
    void setShowMenuBarIcon(bool show);

    void exportSettings();
    void importSettings();
    void importFile(const QString& path);
    void setImportMessage(const QString& message, Style::Role role);
    void clearImportMessage();

    void confirmReset();

    AppSettings& m_settings;
    const PlatformTexts m_texts;
    bool m_showMenuBarIcon;

    FormSwitch* m_launchAtLogin = nullptr;
    FormSwitch* m_showIcon = nullptr;
    FormSwitch* m_showOverlay = nullptr;
    FormSwitch* m_holdToSeek = nullptr;
    SegmentedControl* m_duration = nullptr;
    FormSection* m_hiddenIconSection = nullptr;
    TintedLabel* m_hiddenIconNote = nullptr;
    TintedLabel* m_importMessage = nullptr;
    QPushButton* m_resetButton = nullptr;

    QPointer<QMessageBox> m_hideConfirmation;
    QPointer<QMessageBox> m_resetConfirmation;
    QPointer<QFileDialog> m_exportDialog;
    QPointer<QFileDialog> m_importDialog;
};
