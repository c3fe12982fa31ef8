#include "views/settings/PermissionsSettingsTab.h"

#include "core/PermissionChecker.h"
#include "platform/DesktopIntegration.h"
#include "views/widgets/FormSection.h"
#include "views/widgets/Spinner.h"
#include "views/widgets/Style.h"
#include "views/widgets/SymbolView.h"
#include "views/widgets/TintedLabel.h"

#include <algorithm>

#include <QHBoxLayout>
#include <QLabel>
#include <QPushButton>
#include <QShowEvent>
#include <QVBoxLayout>

namespace {

constexpr int outerPadding = 20;
constexpr int iconSize = 16;
constexpr int iconFrame = 20;
constexpr int hintIndent = 48;
constexpr int spinnerSize = 14;

using Pane = DesktopIntegration::SettingsPane;

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

Style::Role statusRole(PermissionStatus status) {
    switch (status) {
    case PermissionStatus::granted:
        return Style::Role::success;
    case PermissionStatus::denied:
        return Style::Role::warningText;
    case PermissionStatus::unknown:
    case PermissionStatus::appNotRunning:
    case PermissionStatus::checking:
        break;
    }
    return Style::Role::secondary;
}

Style::Role iconRole(PermissionStatus status) {
    return status == PermissionStatus::denied ? Style::Role::warning : statusRole(status);
}

} // namespace

PermissionsSettingsTab::PermissionsSettingsTab(std::unique_ptr<PermissionChecker> checker,
                                               DesktopIntegration& desktop, QWidget* parent)
    : QWidget(parent)
    , m_checker(std::move(checker))
    , m_desktop(desktop)
    , m_texts(desktop.texts())
    , m_accessibilityGrantedText(m_texts.accessibilityGranted) {
    setObjectName(QStringLiteral("permissionsSettingsTab"));
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(outerPadding, outerPadding, outerPadding, outerPadding);
    layout->setSpacing(16);
    layout->addWidget(makeAccessibilitySection());
    // Where no permission is of the browsers' own kind, their note goes with the players.
    const bool browserSection = std::any_of(
        m_checker->items().begin(), m_checker->items().end(), [](const PermissionItem& item) {
            return item.kind == PermissionItem::Kind::browserJavaScript;
        });
    layout->addWidget(makeItemSection(m_texts.automationSection, PermissionItem::Kind::automation,
                                      browserSection ? QString() : m_texts.chromeFootnote));
    if (browserSection) {
        layout->addWidget(makeItemSection(m_texts.chromeSection,
                                          PermissionItem::Kind::browserJavaScript,
                                          m_texts.chromeFootnote));
    }
    layout->addWidget(makeButtons());
    layout->addStretch(1);

    connect(m_checker.get(), &PermissionChecker::statusesChanged, this,
            &PermissionsSettingsTab::showState);
    connect(m_checker.get(), &PermissionChecker::isCheckingChanged, this,
            &PermissionsSettingsTab::showState);
    connect(m_checker.get(), &PermissionChecker::accessibilityGrantedChanged, this,
            &PermissionsSettingsTab::showState);
    showState();
}

PermissionsSettingsTab::~PermissionsSettingsTab() = default;

QString PermissionsSettingsTab::statusText(PermissionStatus status) {
    switch (status) {
    case PermissionStatus::unknown:
        return QStringLiteral("Not checked");
    case PermissionStatus::granted:
        return QStringLiteral("Granted");
    case PermissionStatus::denied:
        return QStringLiteral("Denied");
    case PermissionStatus::appNotRunning:
        return QStringLiteral("Not running");
    case PermissionStatus::checking:
        return QStringLiteral("Checking...");
    }
    return QString();
}

QString PermissionsSettingsTab::statusSymbol(PermissionStatus status) {
    switch (status) {
    case PermissionStatus::unknown:
        return QStringLiteral("questionmark.circle.fill");
    case PermissionStatus::granted:
        return QStringLiteral("checkmark.circle.fill");
    case PermissionStatus::denied:
        return QStringLiteral("xmark.circle.fill");
    case PermissionStatus::appNotRunning:
        return QStringLiteral("minus.circle.fill");
    case PermissionStatus::checking:
        break;
    }
    return QString();
}

QWidget* PermissionsSettingsTab::makeAccessibilitySection() {
    auto* section = new FormSection(m_texts.accessibilitySection, this);
    section->setObjectName(QStringLiteral("accessibilitySection"));
    auto* row = new QWidget(section);
    row->setObjectName(QStringLiteral("accessibilityRow"));
    auto* rows = new QVBoxLayout(row);
    rows->setContentsMargins(0, 0, 0, 0);
    rows->setSpacing(4);
    auto* line = new QHBoxLayout;
    line->setSpacing(8);
    m_accessibilityIcon = new SymbolView(statusSymbol(PermissionStatus::denied), iconSize, row);
    m_accessibilityIcon->setObjectName(QStringLiteral("statusIcon"));
    m_accessibilityIcon->setFixedWidth(iconFrame);
    line->addWidget(m_accessibilityIcon);
    m_accessibilitySymbol = new SymbolView(QStringLiteral("accessibility"), iconSize, row);
    m_accessibilitySymbol->setFixedWidth(iconFrame);
    m_accessibilitySymbol->setTone(SymbolView::Tone::secondary);
    line->addWidget(m_accessibilitySymbol);
    auto* texts = new QVBoxLayout;
    texts->setSpacing(2);
    texts->addWidget(makeText(m_texts.accessibilityTitle, QStringLiteral("rowTitle"), font(), row));
    m_accessibilityDetail = makeText(m_texts.accessibilityDetail, QStringLiteral("rowDetail"),
                                     Style::captionFont(), Style::Role::secondary, row);
    texts->addWidget(m_accessibilityDetail);
    line->addLayout(texts, 1);
    m_accessibilityStatus = makeText(QString(), QStringLiteral("statusText"), Style::captionFont(),
                                     Style::Role::warningText, row);
    line->addWidget(m_accessibilityStatus);
    rows->addLayout(line);
    m_accessibilityHint = makeText(m_texts.accessibilityHint, QStringLiteral("hint"),
                                   Style::caption2Font(), Style::Role::warningText, row);
    m_accessibilityHint->setWordWrap(true);
    m_accessibilityHint->setContentsMargins(hintIndent, 0, 0, 0);
    rows->addWidget(m_accessibilityHint);
    section->addRow(row);

    m_openAccessibility = new QPushButton(m_texts.openAccessibilitySettings, section);
    m_openAccessibility->setObjectName(QStringLiteral("openAccessibilitySettingsButton"));
    m_openAccessibility->setFont(Style::captionFont());
    m_openAccessibility->setAutoDefault(false);
    connect(m_openAccessibility, &QPushButton::clicked, this,
            [this] { m_desktop.openSettings(Pane::accessibility); });
    auto* buttonRow = new QWidget(section);
    auto* buttonLayout = new QHBoxLayout(buttonRow);
    buttonLayout->setContentsMargins(0, 0, 0, 0);
    buttonLayout->addWidget(m_openAccessibility);
    buttonLayout->addStretch();
    buttonRow->setObjectName(QStringLiteral("openAccessibilityRow"));
    section->addRow(buttonRow);
    return section;
}

QWidget* PermissionsSettingsTab::makeItemSection(const QString& title, PermissionItem::Kind kind,
                                                 const QString& footnote) {
    auto* section = new FormSection(title, this);
    for (const PermissionItem& item : m_checker->items()) {
        if (item.kind == kind) {
            makeRow(item, section);
            section->addRow(m_rows.back().widget);
        }
    }
    if (!footnote.isEmpty()) {
        auto* note = makeText(footnote, QStringLiteral("footnote"), Style::captionFont(),
                              Style::Role::secondary, section);
        note->setWordWrap(true);
        section->addRow(note);
    }
    return section;
}

void PermissionsSettingsTab::makeRow(const PermissionItem& item, QWidget* parent) {
    Row row;
    row.item = item;
    row.widget = new QWidget(parent);
    row.widget->setObjectName(QStringLiteral("permissionRow"));
    row.widget->setProperty("itemId", item.id);
    auto* rows = new QVBoxLayout(row.widget);
    rows->setContentsMargins(0, 0, 0, 0);
    rows->setSpacing(4);
    auto* line = new QHBoxLayout;
    line->setSpacing(8);
    row.icon = new SymbolView(statusSymbol(PermissionStatus::unknown), iconSize, row.widget);
    row.icon->setObjectName(QStringLiteral("statusIcon"));
    row.icon->setFixedWidth(iconFrame);
    line->addWidget(row.icon);
    row.spinner = new Spinner(spinnerSize, row.widget);
    row.spinner->setObjectName(QStringLiteral("statusSpinner"));
    row.spinner->setFixedWidth(iconFrame);
    line->addWidget(row.spinner);
    auto* symbol = new SymbolView(item.systemImage, iconSize, row.widget);
    symbol->setFixedWidth(iconFrame);
    symbol->setTone(SymbolView::Tone::secondary);
    line->addWidget(symbol);
    auto* texts = new QVBoxLayout;
    texts->setSpacing(2);
    texts->addWidget(makeText(item.targetApp, QStringLiteral("rowTitle"), font(), row.widget));
    auto* name = makeText(item.name, QStringLiteral("rowDetail"), Style::captionFont(),
                          Style::Role::secondary, row.widget);
    texts->addWidget(name);
    line->addLayout(texts, 1);
    row.status = makeText(QString(), QStringLiteral("statusText"), Style::captionFont(),
                          Style::Role::secondary, row.widget);
    line->addWidget(row.status);
    rows->addLayout(line);
    const QString hint = item.kind == PermissionItem::Kind::browserJavaScript
                             ? m_texts.chromeDeniedHint
                             : m_texts.automationDeniedHint;
    row.hint = makeText(hint, QStringLiteral("hint"), Style::caption2Font(),
                        Style::Role::warningText, row.widget);
    row.hint->setWordWrap(true);
    row.hint->setContentsMargins(hintIndent, 0, 0, 0);
    rows->addWidget(row.hint);
    m_rows.push_back(row);
}

QWidget* PermissionsSettingsTab::makeButtons() {
    auto* section = new FormSection(QString(), this);
    auto* buttons = new QWidget(section);
    auto* layout = new QHBoxLayout(buttons);
    layout->setContentsMargins(0, 0, 0, 0);
    m_check = new QPushButton(QStringLiteral("Check Permissions"), buttons);
    m_check->setObjectName(QStringLiteral("checkPermissionsButton"));
    m_check->setAutoDefault(false);
    connect(m_check, &QPushButton::clicked, this, &PermissionsSettingsTab::refresh);
    layout->addWidget(m_check);
    m_checking = new Spinner(spinnerSize, buttons);
    m_checking->setObjectName(QStringLiteral("checkingSpinner"));
    layout->addWidget(m_checking);
    layout->addStretch();
    m_openSettings = new QPushButton(m_texts.openSystemSettings, buttons);
    m_openSettings->setObjectName(QStringLiteral("openSystemSettingsButton"));
    m_openSettings->setAutoDefault(false);
    connect(m_openSettings, &QPushButton::clicked, this,
            [this] { m_desktop.openSettings(Pane::automation); });
    // Where the desktop has no such place, there is nothing to lead to.
    m_openSettings->setVisible(m_desktop.canOpenSettings(Pane::automation));
    layout->addWidget(m_openSettings);
    section->addRow(buttons);
    return section;
}

void PermissionsSettingsTab::setAccessibilityGrantedText(const QString& text) {
    m_accessibilityGrantedText = text;
    showState();
}

void PermissionsSettingsTab::refresh() {
    // Deliberately unforced, also from the button: results still fresh are shown again.
    m_checker->checkAll(false);
    m_checker->refreshAccessibility();
    showState();
}

void PermissionsSettingsTab::showEvent(QShowEvent* event) {
    QWidget::showEvent(event);
    if (!event->spontaneous()) {
        refresh();
    }
}

void PermissionsSettingsTab::showState() {
    const bool granted = m_checker->accessibilityGranted();
    m_accessibilityIcon->setSymbolName(
        statusSymbol(granted ? PermissionStatus::granted : PermissionStatus::denied));
    m_accessibilityIcon->setTone(granted ? SymbolView::Tone::success : SymbolView::Tone::warning);
    m_accessibilityStatus->setText(granted ? m_accessibilityGrantedText
                                           : m_texts.accessibilityNotGranted);
    m_accessibilityStatus->setRole(granted ? Style::Role::success : Style::Role::warningText);
    m_accessibilityHint->setVisible(!granted && !m_texts.accessibilityHint.isEmpty());
    m_openAccessibility->parentWidget()->setVisible(!granted &&
                                                    m_desktop.canOpenSettings(Pane::accessibility));
    // A status of two lines is read as one phrase.
    m_accessibilityIcon->parentWidget()->setAccessibleName(
        m_texts.accessibilityTitle + QStringLiteral(": ") +
        m_accessibilityStatus->text().replace(QLatin1Char('\n'), QStringLiteral(", ")));

    for (Row& row : m_rows) {
        showRow(row);
    }
    m_check->setEnabled(!m_checker->isChecking());
    m_checking->setVisible(m_checker->isChecking());
}

void PermissionsSettingsTab::showRow(Row& row) {
    const PermissionStatus status = m_checker->status(row.item.id);
    const bool checking = status == PermissionStatus::checking;
    row.icon->setVisible(!checking);
    row.spinner->setVisible(checking);
    if (!checking) {
        row.icon->setSymbolName(statusSymbol(status));
    }
    row.icon->setTone(iconRole(status));
    row.status->setText(statusText(status));
    row.status->setRole(statusRole(status));
    row.hint->setVisible(status == PermissionStatus::denied);
    row.widget->setAccessibleName(row.item.name + QStringLiteral(" for ") + row.item.targetApp +
                                  QStringLiteral(": ") + statusText(status));
}
