#include "views/settings/GeneralSettingsTab.h"

#include "settings/AppSettings.h"
#include "utilities/Logger.h"
#include "views/widgets/FormSection.h"
#include "views/widgets/FormSwitch.h"
#include "views/widgets/PaletteFollower.h"
#include "views/widgets/SegmentedControl.h"
#include "views/widgets/Style.h"
#include "views/widgets/TintedLabel.h"

#include <QDir>
#include <QFile>
#include <QFileDialog>
#include <QHBoxLayout>
#include <QLabel>
#include <QMessageBox>
#include <QPushButton>
#include <QSaveFile>
#include <QTimer>
#include <QToolButton>
#include <QVBoxLayout>

#include <array>

namespace {

struct DurationChoice {
    const char* label;
    double seconds;
};

// The feedback durations offered, in order; any other stored value selects none of them.
constexpr std::array<DurationChoice, 5> durationChoices{{
    {"1s", 1.0},
    {"2s", 2.0},
    {"2.5s", 2.5},
    {"3s", 3.0},
    {"5s", 5.0},
}};

const QString exportFileName = QStringLiteral("Scrubline-Settings.json");
const QString jsonFilter = QStringLiteral("JSON (*.json)");
const QString couldNotRead = QStringLiteral("Error: Could not read file.");
const QString invalidFile = QStringLiteral("Error: Invalid settings file.");
const QString imported = QStringLiteral("Settings imported successfully.");

QPushButton* makeButton(const QString& text, const QString& name, QWidget* parent) {
    auto* button = new QPushButton(text, parent);
    button->setObjectName(name);
    button->setAccessibleName(text);
    button->setAutoDefault(false);
    return button;
}

// A confirmation with a destructive action and "Cancel", which is what Escape and Return pick.
// It is window-modal and returns at once; it frees itself when closed.
QMessageBox* makeConfirmation(const QString& name, const QString& title, const QString& message,
                              const QString& action, QWidget* parent) {
    auto* box = new QMessageBox(parent);
    box->setObjectName(name);
    box->setAttribute(Qt::WA_DeleteOnClose);
    box->setIcon(QMessageBox::Warning);
    box->setWindowTitle(title);
    box->setText(title);
    box->setInformativeText(message);
    QPushButton* destructive = box->addButton(action, QMessageBox::DestructiveRole);
    destructive->setObjectName(QStringLiteral("destructiveButton"));
    PaletteFollower::keepColor(*destructive, QPalette::ButtonText, Style::Role::error);
    QPushButton* cancel = box->addButton(QStringLiteral("Cancel"), QMessageBox::RejectRole);
    cancel->setObjectName(QStringLiteral("cancelButton"));
    box->setDefaultButton(cancel);
    box->setEscapeButton(cancel);
    return box;
}

QFileDialog* makeFileDialog(const QString& name, const QString& title, QWidget* parent) {
    auto* dialog = new QFileDialog(parent, title, QDir::homePath(), jsonFilter);
    dialog->setObjectName(name);
    dialog->setAttribute(Qt::WA_DeleteOnClose);
    // The toolkit's own dialog: it runs without a nested event loop on every desktop.
    dialog->setOption(QFileDialog::DontUseNativeDialog);
    dialog->setWindowModality(Qt::NonModal);
    return dialog;
}

} // namespace

GeneralSettingsTab::GeneralSettingsTab(AppSettings& settings, const PlatformTexts& texts,
                                       QWidget* parent)
    : QWidget(parent)
    , m_settings(settings)
    , m_texts(texts)
    , m_showMenuBarIcon(
          settings.defaults().boolValue(AppSettings::Keys::showMenuBarIcon).value_or(true)) {
    setObjectName(QStringLiteral("generalSettingsTab"));
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(20, 20, 20, 20);
    layout->setSpacing(16);
    layout->addWidget(makeTogglesSection());
    layout->addWidget(makeFeedbackSection());
    layout->addWidget(makeHiddenIconSection());
    layout->addWidget(makeBackupSection());
    layout->addWidget(makeResetSection());
    layout->addStretch(1);

    // The switch shows what the desktop will do at login, read back after every switch, which
    // may have failed or been undone since.
    connect(&m_settings.loginItem(), &LoginItemController::switched, m_launchAtLogin,
            &FormSwitch::setChecked);
    connect(&m_settings.defaults(), &SettingsStore::written, this, [this](const QString& key) {
        if (key == AppSettings::Keys::launchAtLogin || key == AppSettings::Keys::showHUDOverlay ||
            key == AppSettings::Keys::feedbackDuration || key == AppSettings::Keys::holdToSeek) {
            showFromStore();
        }
    });
    showFromStore();
    setShowMenuBarIcon(m_showMenuBarIcon);
}

GeneralSettingsTab::~GeneralSettingsTab() = default;

FormSection* GeneralSettingsTab::makeTogglesSection() {
    auto* section = new FormSection(QString(), this);
    m_launchAtLogin = new FormSwitch(QStringLiteral("Launch at login"), section);
    m_launchAtLogin->setObjectName(QStringLiteral("launchAtLoginToggle"));
    m_launchAtLogin->setAccessibleName(
        QStringLiteral("Start Scrubline automatically when you log in"));
    connect(m_launchAtLogin, &FormSwitch::clicked, this,
            [this](bool checked) { m_settings.setLaunchAtLogin(checked); });
    section->addRow(m_launchAtLogin);

    m_showIcon = new FormSwitch(m_texts.showIconToggle, section);
    m_showIcon->setObjectName(QStringLiteral("showIconToggle"));
    m_showIcon->setAccessibleName(m_texts.showIconAccessibility);
    connect(m_showIcon, &FormSwitch::clicked, this, &GeneralSettingsTab::switchIcon);
    section->addRow(m_showIcon);

    m_holdToSeek = new FormSwitch(QStringLiteral("Keep seeking while a hotkey is held"), section);
    m_holdToSeek->setObjectName(QStringLiteral("holdToSeekToggle"));
    m_holdToSeek->setAccessibleName(
        QStringLiteral("Repeat the seek four times a second while a hotkey is held down"));
    connect(m_holdToSeek, &FormSwitch::clicked, this,
            [this](bool checked) { m_settings.setHoldToSeek(checked); });
    section->addRow(m_holdToSeek);
    return section;
}

FormSection* GeneralSettingsTab::makeFeedbackSection() {
    auto* section = new FormSection(QStringLiteral("Feedback"), this);
    m_showOverlay = new FormSwitch(QStringLiteral("Show on-screen overlay"), section);
    m_showOverlay->setObjectName(QStringLiteral("showOverlayToggle"));
    m_showOverlay->setAccessibleName(
        QStringLiteral("Show a floating overlay on screen when seeking"));
    connect(m_showOverlay, &FormSwitch::clicked, this,
            [this](bool checked) { m_settings.setShowHUDOverlay(checked); });
    section->addRow(m_showOverlay);

    auto* row = new QWidget(section);
    auto* rowLayout = new QHBoxLayout(row);
    rowLayout->setContentsMargins(0, 0, 0, 0);
    auto* label = new QLabel(QStringLiteral("Feedback duration"), row);
    rowLayout->addWidget(label, 1);
    m_duration = new SegmentedControl(row);
    m_duration->setObjectName(QStringLiteral("feedbackDurationPicker"));
    m_duration->setAccessibleName(label->text());
    for (const DurationChoice& choice : durationChoices) {
        QToolButton* segment = m_duration->addSegment(QString::fromLatin1(choice.label));
        segment->setObjectName(QStringLiteral("feedbackDurationSegment"));
    }
    connect(m_duration, &SegmentedControl::segmentChosen, this, [this](qsizetype index) {
        m_settings.setFeedbackDuration(durationChoices.at(std::size_t(index)).seconds);
    });
    rowLayout->addWidget(m_duration);
    section->addRow(row);
    return section;
}

FormSection* GeneralSettingsTab::makeHiddenIconSection() {
    m_hiddenIconSection = new FormSection(QString(), this);
    m_hiddenIconSection->setObjectName(QStringLiteral("hiddenIconSection"));
    m_hiddenIconNote =
        new TintedLabel(m_texts.iconHiddenNote, Style::Role::warningText, m_hiddenIconSection);
    m_hiddenIconNote->setObjectName(QStringLiteral("iconHiddenNote"));
    m_hiddenIconNote->setFont(Style::captionFont());
    m_hiddenIconNote->setWordWrap(true);
    m_hiddenIconSection->addRow(m_hiddenIconNote);
    return m_hiddenIconSection;
}

FormSection* GeneralSettingsTab::makeBackupSection() {
    auto* section = new FormSection(QStringLiteral("Settings Backup"), this);
    auto* buttons = new QWidget(section);
    auto* buttonsLayout = new QHBoxLayout(buttons);
    buttonsLayout->setContentsMargins(0, 0, 0, 0);
    buttonsLayout->setSpacing(8);
    QPushButton* exportButton =
        makeButton(QStringLiteral("Export Settings"), QStringLiteral("exportButton"), buttons);
    connect(exportButton, &QPushButton::clicked, this, &GeneralSettingsTab::exportSettings);
    buttonsLayout->addWidget(exportButton);
    QPushButton* importButton =
        makeButton(QStringLiteral("Import Settings"), QStringLiteral("importButton"), buttons);
    connect(importButton, &QPushButton::clicked, this, &GeneralSettingsTab::importSettings);
    buttonsLayout->addWidget(importButton);
    buttonsLayout->addStretch(1);
    section->addRow(buttons);

    m_importMessage = new TintedLabel(Style::Role::success, section);
    m_importMessage->setObjectName(QStringLiteral("importMessage"));
    m_importMessage->setFont(Style::captionFont());
    m_importMessage->setWordWrap(true);
    m_importMessage->hide();
    section->addRow(m_importMessage);
    return section;
}

FormSection* GeneralSettingsTab::makeResetSection() {
    auto* section = new FormSection(QString(), this);
    auto* row = new QWidget(section);
    auto* rowLayout = new QHBoxLayout(row);
    rowLayout->setContentsMargins(0, 0, 0, 0);
    m_resetButton =
        makeButton(QStringLiteral("Reset to Defaults"), QStringLiteral("resetButton"), row);
    PaletteFollower::keepColor(*m_resetButton, QPalette::ButtonText, Style::Role::error);
    connect(m_resetButton, &QPushButton::clicked, this, &GeneralSettingsTab::confirmReset);
    rowLayout->addWidget(m_resetButton);
    rowLayout->addStretch(1);
    section->addRow(row);
    return section;
}

void GeneralSettingsTab::showFromStore() {
    m_launchAtLogin->setChecked(m_settings.loginItem().isEnabled());
    m_showOverlay->setChecked(m_settings.showHUDOverlay());
    m_holdToSeek->setChecked(m_settings.holdToSeek());
    const double seconds = m_settings.feedbackDuration();
    std::optional<qsizetype> selected;
    for (std::size_t i = 0; i < durationChoices.size(); ++i) {
        if (durationChoices.at(i).seconds == seconds) {
            selected = qsizetype(i);
        }
    }
    m_duration->setSelectedIndex(selected);
}

void GeneralSettingsTab::switchIcon(bool show) {
    if (show) {
        setShowMenuBarIcon(true);
        // After this view has updated, so the tray icon comes back as a reaction to it.
        QTimer::singleShot(0, &m_settings, [&settings = m_settings] {
            settings.defaults().setBool(AppSettings::Keys::showMenuBarIcon, true);
        });
        return;
    }
    // The icon stays until the user confirms.
    m_showIcon->setChecked(m_showMenuBarIcon);
    confirmHidingIcon();
}

void GeneralSettingsTab::confirmHidingIcon() {
    if (m_hideConfirmation) {
        m_hideConfirmation->raise();
        return;
    }
    m_hideConfirmation =
        makeConfirmation(QStringLiteral("hideIconConfirmation"), m_texts.hideIconTitle,
                         m_texts.hideIconMessage, QStringLiteral("Hide Icon"), this);
    connect(m_hideConfirmation->findChild<QPushButton*>(QStringLiteral("destructiveButton")),
            &QPushButton::clicked, this, [this] {
                setShowMenuBarIcon(false);
                QTimer::singleShot(0, &m_settings, [&settings = m_settings] {
                    settings.defaults().setBool(AppSettings::Keys::showMenuBarIcon, false);
                });
            });
    m_hideConfirmation->open();
}

void GeneralSettingsTab::setShowMenuBarIcon(bool show) {
    m_showMenuBarIcon = show;
    m_showIcon->setChecked(show);
    m_hiddenIconSection->setVisible(!show);
}

void GeneralSettingsTab::exportSettings() {
    const std::optional<QByteArray> bytes = m_settings.exportSettings();
    if (!bytes) {
        return;
    }
    if (m_exportDialog) {
        m_exportDialog->raise();
        m_exportDialog->activateWindow();
        return;
    }
    m_exportDialog =
        makeFileDialog(QStringLiteral("exportDialog"), QStringLiteral("Export Settings"), this);
    m_exportDialog->setAcceptMode(QFileDialog::AcceptSave);
    m_exportDialog->setFileMode(QFileDialog::AnyFile);
    m_exportDialog->setDefaultSuffix(QStringLiteral("json"));
    m_exportDialog->selectFile(exportFileName);
    connect(m_exportDialog, &QFileDialog::fileSelected, this, [bytes](const QString& path) {
        if (path.isEmpty()) {
            return;
        }
        // A failed write shows nothing to the user; the log keeps why.
        QSaveFile file(path);
        if (!file.open(QIODevice::WriteOnly) || file.write(*bytes) != bytes->size() ||
            !file.commit()) {
            qCWarning(Log::general(), "Could not export settings to %s: %s", qUtf8Printable(path),
                      qUtf8Printable(file.errorString()));
        }
    });
    m_exportDialog->show();
}

void GeneralSettingsTab::importSettings() {
    if (m_importDialog) {
        m_importDialog->raise();
        m_importDialog->activateWindow();
        return;
    }
    m_importDialog =
        makeFileDialog(QStringLiteral("importDialog"), QStringLiteral("Import Settings"), this);
    m_importDialog->setAcceptMode(QFileDialog::AcceptOpen);
    m_importDialog->setFileMode(QFileDialog::ExistingFile);
    connect(m_importDialog, &QFileDialog::fileSelected, this, [this](const QString& path) {
        if (!path.isEmpty()) {
            importFile(path);
        }
    });
    m_importDialog->show();
}

void GeneralSettingsTab::importFile(const QString& path) {
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly)) {
        setImportMessage(couldNotRead, Style::Role::error);
        return;
    }
    const QByteArray bytes = file.readAll();
    if (file.error() != QFileDevice::NoError) {
        setImportMessage(couldNotRead, Style::Role::error);
        return;
    }
    if (m_settings.importSettings(bytes)) {
        setImportMessage(imported, Style::Role::success);
    } else {
        setImportMessage(invalidFile, Style::Role::error);
    }
}

void GeneralSettingsTab::setImportMessage(const QString& message, Style::Role role) {
    m_importMessage->setText(message);
    m_importMessage->setRole(role);
    m_importMessage->show();
    // Each message starts its own clearing, which clears whatever shows by then, a newer
    // message included.
    QTimer::singleShot(m_importMessageMs, Qt::PreciseTimer, this,
                       &GeneralSettingsTab::clearImportMessage);
}

void GeneralSettingsTab::clearImportMessage() {
    m_importMessage->hide();
    m_importMessage->clear();
}

void GeneralSettingsTab::confirmReset() {
    if (m_resetConfirmation) {
        m_resetConfirmation->raise();
        return;
    }
    m_resetConfirmation = makeConfirmation(
        QStringLiteral("resetConfirmation"), QStringLiteral("Reset all settings to defaults?"),
        QStringLiteral(
            "This will reset all hotkeys, app order, and preferences to their default values."),
        QStringLiteral("Reset"), this);
    connect(m_resetConfirmation->findChild<QPushButton*>(QStringLiteral("destructiveButton")),
            &QPushButton::clicked, this, [this] {
                m_settings.resetToDefaults();
                setShowMenuBarIcon(true);
            });
    m_resetConfirmation->open();
}
