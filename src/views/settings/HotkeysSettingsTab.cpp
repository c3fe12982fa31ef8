#include "views/settings/HotkeysSettingsTab.h"

#include "settings/AppSettings.h"
#include "views/settings/ActionEditor.h"
#include "views/settings/ActionRowContainer.h"
#include "views/settings/ActionRowHeader.h"
#include "views/widgets/FormSection.h"
#include "views/widgets/PaletteFollower.h"
#include "views/widgets/Style.h"
#include "views/widgets/SymbolView.h"
#include "views/widgets/Symbols.h"
#include "views/widgets/TintedLabel.h"

#include <QEvent>
#include <QHBoxLayout>
#include <QHash>
#include <QLabel>
#include <QToolButton>
#include <QVBoxLayout>

#include <algorithm>

namespace {

constexpr int outerPadding = 20;
constexpr int sectionSpacing = 16;
constexpr int emptyPadding = 12;
constexpr int emptySymbolSize = 22;
constexpr int addSymbolSize = 14;
constexpr int footerSymbolSize = 11;

QLabel* makeCaption(const QString& text, Style::Role role, const QString& name, QWidget* parent) {
    auto* label = new TintedLabel(text, role, parent);
    label->setObjectName(name);
    label->setTextFormat(Qt::PlainText);
    label->setFont(Style::captionFont());
    label->setWordWrap(true);
    return label;
}

} // namespace

HotkeysSettingsTab::HotkeysSettingsTab(AppSettings& settings, KeyTable::ModifierStyle style,
                                       QWidget* parent)
    : QWidget(parent)
    , m_settings(settings)
    , m_style(style) {
    setObjectName(QStringLiteral("hotkeysSettingsTab"));
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(outerPadding, outerPadding, outerPadding, outerPadding);
    layout->setSpacing(sectionSpacing);

    m_section = new FormSection(QStringLiteral("Seek Actions"), this);
    m_section->setObjectName(QStringLiteral("seekActionsSection"));

    m_emptyState = new QWidget(m_section);
    m_emptyState->setObjectName(QStringLiteral("emptyState"));
    auto* empty = new QVBoxLayout(m_emptyState);
    empty->setContentsMargins(0, emptyPadding, 0, emptyPadding);
    empty->setSpacing(6);
    m_emptySymbol = new SymbolView(QStringLiteral("keyboard"), emptySymbolSize, m_emptyState);
    m_emptySymbol->setTone(SymbolView::Tone::quaternary);
    empty->addWidget(m_emptySymbol, 0, Qt::AlignHCenter);
    m_emptyText = new TintedLabel(QStringLiteral("No seek actions configured"),
                                  Style::Role::tertiary, m_emptyState);
    m_emptyText->setObjectName(QStringLiteral("emptyStateText"));
    m_emptyText->setFont(Style::calloutFont());
    empty->addWidget(m_emptyText, 0, Qt::AlignHCenter);
    m_section->addRow(m_emptyState);

    m_addAction = new QToolButton(m_section);
    m_addAction->setObjectName(QStringLiteral("addActionButton"));
    m_addAction->setText(QStringLiteral("Add Action"));
    m_addAction->setAccessibleName(QStringLiteral("Add Action"));
    m_addAction->setToolButtonStyle(Qt::ToolButtonTextBesideIcon);
    m_addAction->setAutoRaise(true);
    m_addAction->setIconSize(QSize(addSymbolSize, addSymbolSize));
    m_addAction->setCursor(Qt::PointingHandCursor);
    PaletteFollower::keepColor(*m_addAction, QPalette::ButtonText, Style::Role::accent);
    drawAddSymbol();
    new PaletteFollower(*m_addAction, [this] { drawAddSymbol(); });
    connect(m_addAction, &QToolButton::clicked, this, &HotkeysSettingsTab::addAction);
    m_section->addRow(m_addAction);
    layout->addWidget(m_section);

    auto* footer = new FormSection(QString(), this);
    footer->setObjectName(QStringLiteral("hotkeysFooter"));
    auto* notes = new QWidget(footer);
    auto* notesLayout = new QVBoxLayout(notes);
    notesLayout->setContentsMargins(0, 0, 0, 0);
    notesLayout->setSpacing(4);
    m_conflictFooter = new QWidget(notes);
    m_conflictFooter->setObjectName(QStringLiteral("conflictFooter"));
    auto* conflict = new QHBoxLayout(m_conflictFooter);
    conflict->setContentsMargins(0, 0, 0, 0);
    conflict->setSpacing(4);
    m_conflictSymbol = new SymbolView(QStringLiteral("exclamationmark.triangle.fill"),
                                      footerSymbolSize, m_conflictFooter);
    m_conflictSymbol->setTone(SymbolView::Tone::warning);
    conflict->addWidget(m_conflictSymbol);
    m_conflictText =
        makeCaption(QStringLiteral("Some actions share the same hotkey. Only one will trigger."),
                    Style::Role::warning, QStringLiteral("conflictText"), m_conflictFooter);
    conflict->addWidget(m_conflictText, 1);
    notesLayout->addWidget(m_conflictFooter);
    m_systemWideFooter =
        makeCaption(QStringLiteral("Hotkeys are system-wide and work in any app."),
                    Style::Role::secondary, QStringLiteral("systemWideText"), notes);
    notesLayout->addWidget(m_systemWideFooter);
    m_clickFooter = makeCaption(QStringLiteral("Click a row to edit its settings."),
                                Style::Role::tertiary, QStringLiteral("clickText"), notes);
    notesLayout->addWidget(m_clickFooter);
    footer->addRow(notes);
    layout->addWidget(footer);
    layout->addStretch(1);

    // Whoever changes the list (this tab, an import, a reset), the rows follow at once.
    connect(&m_settings, &AppSettings::seekActionsChanged, this, &HotkeysSettingsTab::refresh);
    refresh();
}

HotkeysSettingsTab::~HotkeysSettingsTab() {
    // A row that goes while recording says so; it must find this tab whole.
    for (ActionRowContainer* row : std::exchange(m_rows, {})) {
        delete row;
    }
}

void HotkeysSettingsTab::setModifierMapping(const HotkeyRecorder::ModifierMapping& mapping) {
    m_mapping = mapping;
    for (ActionRowContainer* row : m_rows) {
        row->setModifierMapping(mapping);
    }
}

QSet<QUuid> HotkeysSettingsTab::conflictingActionIDs() const {
    // Keyed by key code and modifiers alone: direction and step play no part.
    QHash<QString, QList<QUuid>> byHotkey;
    for (const SeekAction& action : m_settings.seekActions()) {
        if (action.keyCode == 0) {
            continue;
        }
        byHotkey[QString::number(action.keyCode) + QLatin1Char('-') +
                 QString::number(action.carbonModifiers)]
            .append(action.id());
    }
    QSet<QUuid> conflicting;
    for (const QList<QUuid>& ids : std::as_const(byHotkey)) {
        if (ids.size() >= 2) {
            for (const QUuid& id : ids) {
                conflicting.insert(id);
            }
        }
    }
    return conflicting;
}

void HotkeysSettingsTab::setUnavailableActionIDs(const QSet<QUuid>& ids) {
    m_unavailable = ids;
    for (ActionRowContainer* row : m_rows) {
        row->setUnavailable(m_unavailable.contains(row->id()));
    }
}

void HotkeysSettingsTab::setAssignedTriggers(const QHash<QUuid, QString>& triggers) {
    m_assignedTriggers = triggers;
    for (ActionRowContainer* row : m_rows) {
        row->setAssignedTrigger(m_assignedTriggers.value(row->id()));
    }
}

QList<ActionRowContainer*> HotkeysSettingsTab::rows() const {
    return QList<ActionRowContainer*>(m_rows.begin(), m_rows.end());
}

void HotkeysSettingsTab::addAction() {
    SeekAction action(SeekAction::Direction::forward, 10.0, 0, 0);
    const QUuid id = action.id();
    QList<SeekAction> actions = m_settings.seekActions();
    actions.append(std::move(action));
    // Open before the store announces the new list, so the new row is made open.
    m_expandedID = id;
    m_settings.setSeekActions(std::move(actions));
    refresh();
    const auto added =
        std::find_if(m_rows.begin(), m_rows.end(),
                     [&id](const ActionRowContainer* row) { return row->id() == id; });
    if (added != m_rows.end() && (*added)->editor() != nullptr) {
        // Ready for the combination: the next Space or click records it.
        (*added)->editor()->recorder()->setFocus(Qt::OtherFocusReason);
    }
}

void HotkeysSettingsTab::toggle(const QUuid& id) {
    if (m_expandedID == id) {
        m_expandedID.reset();
    } else {
        m_expandedID = id;
    }
    refresh();
}

void HotkeysSettingsTab::remove(const QUuid& id) {
    QList<SeekAction> actions = m_settings.seekActions();
    actions.removeIf([&id](const SeekAction& action) { return action.id() == id; });
    if (m_expandedID == id) {
        m_expandedID.reset();
    }
    m_settings.setSeekActions(std::move(actions));
    refresh();
}

void HotkeysSettingsTab::refresh() {
    const QList<SeekAction>& actions = m_settings.seekActions();
    const auto holds = [&actions](const QUuid& id) {
        return std::any_of(actions.begin(), actions.end(),
                           [&id](const SeekAction& action) { return action.id() == id; });
    };
    if (m_expandedID && !holds(*m_expandedID)) {
        m_expandedID.reset();
    }

    // Rows of actions that are gone go; the others are kept, with their open editor.
    for (auto it = m_rows.begin(); it != m_rows.end();) {
        if (holds((*it)->id())) {
            ++it;
            continue;
        }
        ActionRowContainer* gone = *it;
        it = m_rows.erase(it);
        m_section->removeRow(gone);
        gone->hide();
        gone->deleteLater();
    }

    const QSet<QUuid> conflicts = conflictingActionIDs();
    std::vector<ActionRowContainer*> ordered;
    ordered.reserve(static_cast<std::size_t>(actions.size()));
    for (const SeekAction& action : actions) {
        const auto found =
            std::find_if(m_rows.begin(), m_rows.end(), [&action](const ActionRowContainer* row) {
                return row->id() == action.id();
            });
        ActionRowContainer* row = nullptr;
        if (found != m_rows.end()) {
            row = *found;
        } else {
            row = new ActionRowContainer(ActionBinding(m_settings, action.id()), presetSeconds,
                                         m_style, m_section);
            row->setModifierMapping(m_mapping);
            const QUuid id = action.id();
            connect(row, &ActionRowContainer::toggleRequested, this, [this, id] { toggle(id); });
            connect(row, &ActionRowContainer::deleteRequested, this, [this, id] { remove(id); });
            connect(row, &ActionRowContainer::testRequested, this,
                    &HotkeysSettingsTab::seekRequested);
            connect(row, &ActionRowContainer::recordingChanged, this,
                    [this, row](bool recording) { rowRecordingChanged(row, recording); });
            connect(row, &QObject::destroyed, this,
                    [this, row] { rowRecordingChanged(row, false); });
        }
        ordered.push_back(row);
        // After the empty state, in the list's order.
        m_section->insertRow(static_cast<qsizetype>(ordered.size()), row);
        row->setHasConflict(conflicts.contains(action.id()));
        row->setUnavailable(m_unavailable.contains(action.id()));
        row->setAssignedTrigger(m_assignedTriggers.value(action.id()));
        row->showAction();
        row->setExpanded(m_expandedID == action.id());
        row->show();
    }
    m_rows = std::move(ordered);
    m_emptyState->setVisible(m_rows.empty());
    m_conflictFooter->setVisible(!conflicts.isEmpty());
    orderFocus();
}

void HotkeysSettingsTab::orderFocus() {
    // Within a row the chain is already header, delete button, then the editor's controls; the
    // rows themselves are put in the order shown. Only widgets that take the focus: the toolkit
    // leaves the chain as it is for a pair with one that does not.
    // An editor opened later has its controls wherever the toolkit put them then, so each
    // row's are looked for round the whole chain.
    QList<QWidget*> chain;
    for (ActionRowContainer* row : m_rows) {
        for (QWidget* widget = row->nextInFocusChain(); widget != row;
             widget = widget->nextInFocusChain()) {
            if (row->isAncestorOf(widget) && widget->focusPolicy() != Qt::NoFocus) {
                chain.append(widget);
            }
        }
    }
    chain.append(m_addAction);
    for (qsizetype i = 1; i < chain.size(); ++i) {
        setTabOrder(chain[i - 1], chain[i]);
    }
}

void HotkeysSettingsTab::rowRecordingChanged(const ActionRowContainer* row, bool recording) {
    const bool before = !m_recordingRows.isEmpty();
    if (recording) {
        m_recordingRows.insert(row);
    } else {
        m_recordingRows.remove(row);
    }
    const bool now = !m_recordingRows.isEmpty();
    if (now != before) {
        emit recordingChanged(now);
    }
}

void HotkeysSettingsTab::changeEvent(QEvent* event) {
    QWidget::changeEvent(event);
    if (event->type() == QEvent::ParentChange) {
        // Moved into a window, the tab's part of the focus chain goes in as it stood. Alone it
        // was a ring, in which Add Action right after the tab itself already counted as after
        // the last row, so the order was left so; in the window it would come first.
        orderFocus();
        // The window's own drawing of the symbol, which a tab alone does not know.
        drawAddSymbol();
    }
}

void HotkeysSettingsTab::drawAddSymbol() {
    m_addAction->setIcon(Symbols::icon(QStringLiteral("plus.circle.fill"),
                                       Style::accent(m_addAction->palette()),
                                       Symbols::providedFor(m_addAction)));
}
