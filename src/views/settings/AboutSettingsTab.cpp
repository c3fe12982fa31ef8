#include "views/settings/AboutSettingsTab.h"

#include "core/UpdateChecker.h"
#include "views/widgets/FormSection.h"
#include "views/widgets/PaletteFollower.h"
#include "views/widgets/Style.h"
#include "views/widgets/SymbolView.h"
#include "views/widgets/TintedLabel.h"

#include <QClipboard>
#include <QGuiApplication>
#include <QHBoxLayout>
#include <QLabel>
#include <QPushButton>
#include <QTimer>
#include <QVBoxLayout>

namespace {

constexpr int outerPadding = 20;
constexpr int symbolSize = 48;
// Below the menu's "1.0" on purpose: the two places have fallbacks of their own.
const QString fallbackVersion = QStringLiteral("1.0.0");
const QString fallbackBuild = QStringLiteral("1");
const QString copyText = QStringLiteral("Copy Debug Info");
const QString copiedText = QStringLiteral("Copied");

// A line of plain text with its name and font.
template <typename Label>
Label* named(Label* label, const QString& name, const QFont& font) {
    label->setObjectName(name);
    label->setTextFormat(Qt::PlainText);
    label->setFont(font);
    return label;
}

QLabel* makeText(const QString& text, const QString& name, const QFont& font, QWidget* parent) {
    return named(new QLabel(text, parent), name, font);
}

TintedLabel* makeText(const QString& text, const QString& name, const QFont& font, Style::Role role,
                      QWidget* parent) {
    return named(new TintedLabel(text, role, parent), name, font);
}

QLabel* makeLink(const QUrl& url, const QString& text, const QString& name, QWidget* parent) {
    auto* label = new QLabel(parent);
    label->setObjectName(name);
    label->setTextFormat(Qt::RichText);
    label->setText(
        QStringLiteral("<a href=\"%1\">%2</a>")
            .arg(url.toString(QUrl::FullyEncoded).toHtmlEscaped(), text.toHtmlEscaped()));
    label->setOpenExternalLinks(true);
    label->setTextInteractionFlags(Qt::TextBrowserInteraction);
    label->setAccessibleName(text);
    label->setProperty("url", url);
    PaletteFollower::keepColor(*label, QPalette::Link, Style::Role::accent);
    return label;
}

} // namespace

AboutSettingsTab::AboutSettingsTab(Info info, QWidget* parent)
    : QWidget(parent)
    , m_info(std::move(info)) {
    setObjectName(QStringLiteral("aboutSettingsTab"));
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(outerPadding, outerPadding, outerPadding, outerPadding);
    layout->setSpacing(16);
    layout->addWidget(makeHeader());

    auto* details = new FormSection(QString(), this);
    auto* developer = makeText(m_info.developer, QStringLiteral("developerName"), font(), details);
    details->addRow(makeRow(QStringLiteral("Developer"), developer));
    details->addRow(
        makeRow(QStringLiteral("Website"), makeLink(m_info.web.website(), m_info.web.websiteText(),
                                                    QStringLiteral("websiteLink"), details)));
    layout->addWidget(details);

    auto* actions = new FormSection(QString(), this);
    m_copy = new QPushButton(copyText, actions);
    m_copy->setObjectName(QStringLiteral("copyDebugInfoButton"));
    m_copy->setFlat(true);
    m_copy->setAutoDefault(false);
    new PaletteFollower(*m_copy, [this] { tintCopyButton(); });
    connect(m_copy, &QPushButton::clicked, this, &AboutSettingsTab::copyDebugInfo);
    actions->addRow(m_copy);

    auto* update = new QWidget(actions);
    auto* updateLayout = new QVBoxLayout(update);
    updateLayout->setContentsMargins(0, 0, 0, 0);
    updateLayout->setSpacing(4);
    m_check = new QPushButton(QStringLiteral("Check for Updates"), update);
    m_check->setObjectName(QStringLiteral("checkForUpdatesButton"));
    m_check->setAccessibleName(QStringLiteral("Check for Updates"));
    m_check->setAutoDefault(false);
    connect(m_check, &QPushButton::clicked, this, &AboutSettingsTab::checkForUpdates);
    updateLayout->addWidget(m_check, 0, Qt::AlignLeft);
    m_status = makeText(QString(), QStringLiteral("updateStatus"), Style::captionFont(),
                        Style::Role::success, update);
    m_status->setWordWrap(true);
    updateLayout->addWidget(m_status);
    m_download = makeLink(m_info.web.downloadPage(), QStringLiteral("Download Latest Version"),
                          QStringLiteral("downloadLink"), update);
    m_download->setFont(Style::captionFont());
    updateLayout->addWidget(m_download);
    actions->addRow(update);
    layout->addWidget(actions);
    layout->addStretch(1);

    m_checker = new UpdateChecker(appVersion(), m_info.web.updateDocument(), this);
    connect(m_checker, &UpdateChecker::finished, this,
            [this](const QString& status, bool updateAvailable) {
                m_updateStatus = status;
                m_updateAvailable = updateAvailable;
                showState();
                emit updateChecked(status);
            });
    showState();
}

AboutSettingsTab::~AboutSettingsTab() = default;

QWidget* AboutSettingsTab::makeHeader() {
    auto* header = new QWidget(this);
    header->setObjectName(QStringLiteral("aboutHeader"));
    auto* layout = new QVBoxLayout(header);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(4);
    m_symbol = new SymbolView(QStringLiteral("goforward.10"), symbolSize, header);
    m_symbol->setObjectName(QStringLiteral("appSymbol"));
    m_symbol->setTone(SymbolView::Tone::accent);
    layout->addWidget(m_symbol, 0, Qt::AlignHCenter);
    m_name = makeText(QStringLiteral("Scrubline"), QStringLiteral("appName"),
                      Style::systemFont(17, QFont::Bold), header);
    layout->addWidget(m_name, 0, Qt::AlignHCenter);
    m_version = makeText(QStringLiteral("Version ") + appVersion() + QStringLiteral(" (") +
                             buildNumber() + QLatin1Char(')'),
                         QStringLiteral("versionLine"), Style::captionFont(),
                         Style::Role::secondary, header);
    layout->addWidget(m_version, 0, Qt::AlignHCenter);
    m_system = makeText(m_info.system, QStringLiteral("systemLine"), Style::caption2Font(),
                        Style::Role::secondary, header);
    layout->addWidget(m_system, 0, Qt::AlignHCenter);
    return header;
}

QWidget* AboutSettingsTab::makeRow(const QString& title, QWidget* value) {
    auto* row = new QWidget(this);
    auto* layout = new QHBoxLayout(row);
    layout->setContentsMargins(0, 0, 0, 0);
    auto* label = makeText(title, QStringLiteral("rowTitle"), font(), row);
    label->setBuddy(value);
    layout->addWidget(label);
    layout->addStretch();
    value->setParent(row);
    layout->addWidget(value);
    return row;
}

QString AboutSettingsTab::appVersion() const {
    return m_info.version.isEmpty() ? fallbackVersion : m_info.version;
}

QString AboutSettingsTab::buildNumber() const {
    return m_info.build.isEmpty() ? fallbackBuild : m_info.build;
}

QString AboutSettingsTab::debugInfo() const {
    return QStringLiteral("Scrubline ") + appVersion() + QStringLiteral(" (") + buildNumber() +
           QStringLiteral(") | ") + m_info.system;
}

bool AboutSettingsTab::isCheckingUpdate() const {
    return m_checker->isChecking();
}

void AboutSettingsTab::copyDebugInfo() {
    QClipboard* clipboard = QGuiApplication::clipboard();
    clipboard->clear();
    clipboard->setText(debugInfo());
    m_copied = true;
    showState();
    // Each press schedules its own reset, so an earlier one may end "Copied" early.
    QTimer::singleShot(m_copiedMs, this, [this] {
        m_copied = false;
        showState();
    });
}

void AboutSettingsTab::checkForUpdates() {
    if (isCheckingUpdate()) {
        return;
    }
    m_updateStatus.reset();
    m_updateAvailable = false;
    m_checker->check();
    showState();
}

void AboutSettingsTab::setUpdateTimeout(int milliseconds) {
    m_checker->setTimeout(milliseconds);
}

void AboutSettingsTab::showState() {
    m_copy->setText(m_copied ? copiedText : copyText);
    m_copy->setAccessibleName(m_copy->text());
    m_check->setEnabled(!isCheckingUpdate());
    const bool hasStatus = m_updateStatus.has_value();
    m_status->setVisible(hasStatus);
    m_status->setText(m_updateStatus.value_or(QString()));
    m_status->setAccessibleName(m_status->text());
    // Only an offered update stands out: the error lines are green like the up-to-date line.
    const bool available = hasStatus && m_updateAvailable;
    m_download->setVisible(available);
    m_status->setRole(available ? Style::Role::warningText : Style::Role::success);
    tintCopyButton();
}

void AboutSettingsTab::tintCopyButton() {
    Style::setColor(*m_copy, QPalette::ButtonText,
                    m_copied ? Style::Role::success : Style::Role::accent);
}
