#include "views/settings/ActionRowContainer.h"

#include "views/settings/ActionEditor.h"
#include "views/settings/ActionRowHeader.h"
#include "views/widgets/PaletteFollower.h"
#include "views/widgets/Style.h"

#include <QVBoxLayout>

namespace {

constexpr int separatorMargin = 8;
constexpr int editorBottom = 6;

const QString unavailableNote = QStringLiteral("In use by another program");
const QString needsModifierNote = QStringLiteral("Needs a modifier key to work");
const QString assignedNote = QStringLiteral("The desktop set %1");

} // namespace

ActionRowContainer::ActionRowContainer(ActionBinding binding, std::span<const double> presetSeconds,
                                       KeyTable::ModifierStyle style, QWidget* parent)
    : QWidget(parent)
    , m_binding(std::move(binding))
    , m_presets(presetSeconds)
    , m_style(style) {
    setObjectName(QStringLiteral("actionRow"));
    m_layout = new QVBoxLayout(this);
    m_layout->setContentsMargins(0, 0, 0, 0);
    m_layout->setSpacing(0);
    m_header = new ActionRowHeader(this);
    m_layout->addWidget(m_header);
    connect(m_header, &ActionRowHeader::clicked, this, &ActionRowContainer::toggleRequested);
    connect(m_header, &ActionRowHeader::deleteRequested, this,
            &ActionRowContainer::deleteRequested);
    new PaletteFollower(*this, [this] { applyColors(); });
    showAction();
}

ActionRowContainer::~ActionRowContainer() {
    // An editor that goes while recording says so; it must find this row whole.
    delete m_editor;
}

void ActionRowContainer::setExpanded(bool expanded) {
    if (expanded == isExpanded()) {
        return;
    }
    if (expanded) {
        // A new editor each time, so its custom field starts from the action as it is.
        m_separator = new QWidget(this);
        m_separator->setObjectName(QStringLiteral("editorSeparator"));
        m_separator->setFixedHeight(1);
        m_separator->setAutoFillBackground(true);
        m_layout->addSpacing(separatorMargin);
        m_layout->addWidget(m_separator);
        m_layout->addSpacing(separatorMargin);
        m_editor = new ActionEditor(m_binding, m_presets, m_style, this);
        m_editor->setModifierMapping(m_mapping);
        m_editor->setContentsMargins(0, 0, 0, editorBottom);
        connect(m_editor, &ActionEditor::testRequested, this, &ActionRowContainer::testRequested);
        connect(m_editor, &ActionEditor::recordingChanged, this,
                &ActionRowContainer::recordingChanged);
        m_layout->addWidget(m_editor);
        applyColors();
        m_separator->show();
        m_editor->show();
    } else {
        // Hidden first, so that a recorder that is recording lets go while the row is whole.
        m_editor->hide();
        delete m_editor;
        m_editor = nullptr;
        delete m_separator;
        m_separator = nullptr;
        // The two spacings around the separator.
        while (m_layout->count() > 1) {
            delete m_layout->takeAt(m_layout->count() - 1);
        }
    }
    m_header->setExpanded(expanded);
}

void ActionRowContainer::setHasConflict(bool conflict) {
    if (conflict != m_hasConflict) {
        m_hasConflict = conflict;
        showAction();
    }
}

void ActionRowContainer::setUnavailable(bool unavailable) {
    if (unavailable != m_unavailable) {
        m_unavailable = unavailable;
        showAction();
    }
}

void ActionRowContainer::setAssignedTrigger(const QString& trigger) {
    if (trigger != m_assignedTrigger) {
        m_assignedTrigger = trigger;
        showAction();
    }
}

ActionRowContainer::Standing ActionRowContainer::standing() const {
    const auto action = m_binding.action();
    if (!action || action->keyCode == 0) {
        return Standing::active;
    }
    // Without a modifier the key would be taken from every other program, so it is never made
    // a global hotkey.
    if (action->carbonModifiers == 0) {
        return Standing::needsModifier;
    }
    return m_unavailable ? Standing::unavailable : Standing::active;
}

bool ActionRowContainer::isHovered() const {
    return m_header->isHovered();
}

SymbolButton* ActionRowContainer::deleteButton() const {
    return m_header->deleteButton();
}

void ActionRowContainer::showAction() {
    const auto action = m_binding.action();
    if (!action) {
        return;
    }
    ActionRowHeader::Content content;
    content.label = action->label();
    content.directionIcon = action->directionIcon();
    content.forward = action->direction == SeekAction::Direction::forward;
    // Key code 0 is the A key too; here it means that no hotkey is set.
    if (action->keyCode != 0) {
        content.hotkey =
            SeekAction::displayString(action->keyCode, action->carbonModifiers, m_style);
    }
    content.conflict = m_hasConflict;
    switch (standing()) {
    case Standing::active:
        // The desktop has the last word on its shortcuts; say where it differs.
        if (!m_assignedTrigger.isEmpty()) {
            content.note = assignedNote.arg(m_assignedTrigger);
            content.noteIsInformation = true;
        }
        break;
    case Standing::unavailable:
        content.note = unavailableNote;
        break;
    case Standing::needsModifier:
        content.note = needsModifierNote;
        break;
    }
    m_header->setContent(content);
    if (m_editor != nullptr) {
        m_editor->showAction();
    }
}

void ActionRowContainer::setModifierMapping(const HotkeyRecorder::ModifierMapping& mapping) {
    m_mapping = mapping;
    if (m_editor != nullptr) {
        m_editor->setModifierMapping(mapping);
    }
}

void ActionRowContainer::applyColors() {
    if (m_separator != nullptr) {
        QPalette palette = m_separator->palette();
        palette.setColor(QPalette::Window, Style::quaternary(this->palette()));
        m_separator->setPalette(palette);
    }
}
