#include "views/settings/ActionEditor.h"

#include "views/widgets/SegmentedControl.h"
#include "views/widgets/Style.h"
#include "views/widgets/TintedLabel.h"

#include <QComboBox>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QShowEvent>
#include <QToolButton>
#include <QVBoxLayout>

#include <algorithm>
#include <charconv>

namespace {

constexpr int pickerWidth = 80;
constexpr int customFieldWidth = 50;
constexpr int spacing = 10;
constexpr double leastCustomSeconds = 1.0;
constexpr double mostCustomSeconds = 300.0;

const QString customLabel = QStringLiteral("Custom");

QString wholeSecondsText(double seconds) {
    return QString::number(SeekAction::wholeSeconds(seconds));
}

bool isSpace(QChar c) {
    // What the C library skips before a number: space, tab, line feed, vertical tab, form feed
    // and carriage return.
    return c == u' ' || (c >= u'\t' && c <= u'\r');
}

} // namespace

std::optional<double> customSeconds(const QString& text) {
    if (text.isEmpty() || isSpace(text.front())) {
        return std::nullopt;
    }
    // The conversion of the C locale whatever the user's locale: a point, never a comma. The
    // standard conversion takes neither a plus sign nor the 0x of a hexadecimal number, which
    // the C library's does, so those are read here.
    const QByteArray bytes = text.toUtf8();
    const char* first = bytes.constData();
    const char* const last = first + bytes.size();
    bool negative = false;
    if (*first == '+' || *first == '-') {
        negative = *first == '-';
        ++first;
    }
    auto format = std::chars_format::general;
    if (last - first > 2 && first[0] == '0' && (first[1] == 'x' || first[1] == 'X')) {
        format = std::chars_format::hex;
        first += 2;
    }
    if (first == last || *first == '+' || *first == '-') {
        return std::nullopt;
    }
    double value = 0;
    const auto [end, error] = std::from_chars(first, last, value, format);
    if (error != std::errc() || end != last) {
        return std::nullopt;
    }
    if (negative) {
        value = -value;
    }
    // A number that is not, infinity included, fails both comparisons.
    if (!(value >= leastCustomSeconds && value <= mostCustomSeconds)) {
        return std::nullopt;
    }
    return value;
}

ActionEditor::ActionEditor(ActionBinding binding, std::span<const double> presetSeconds,
                           KeyTable::ModifierStyle style, QWidget* parent)
    : QWidget(parent)
    , m_binding(std::move(binding))
    , m_presets(presetSeconds) {
    setObjectName(QStringLiteral("actionEditor"));
    setFont(Style::calloutFont());
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 4, 0, 0);
    layout->setSpacing(spacing);

    // The direction, titled by the picker's own label rather than an editor row.
    auto* directionRow = new QHBoxLayout;
    directionRow->setSpacing(8);
    auto* directionTitle = new QLabel(QStringLiteral("Action"), this);
    directionTitle->setObjectName(QStringLiteral("directionTitle"));
    m_direction = new SegmentedControl(this);
    m_direction->setObjectName(QStringLiteral("directionPicker"));
    m_direction->setAccessibleName(QStringLiteral("Action"));
    m_direction->addSegment(QStringLiteral("Forward"));
    m_direction->addSegment(QStringLiteral("Backward"));
    m_direction->addSegment(QStringLiteral("Play/Pause"));
    directionTitle->setBuddy(m_direction);
    directionRow->addStretch();
    directionRow->addWidget(directionTitle);
    directionRow->addWidget(m_direction);
    layout->addLayout(directionRow);
    connect(m_direction, &SegmentedControl::segmentChosen, this, [this](qsizetype index) {
        const auto direction = SeekAction::allDirections()[static_cast<std::size_t>(index)];
        m_binding.update([direction](SeekAction& action) { action.direction = direction; });
    });

    // The step: a preset, or any number from 1 to 300 in the custom field.
    auto* seconds = new QWidget(this);
    auto* secondsLayout = new QHBoxLayout(seconds);
    secondsLayout->setContentsMargins(0, 0, 0, 0);
    secondsLayout->setSpacing(6);
    m_secondsPicker = new QComboBox(seconds);
    m_secondsPicker->setObjectName(QStringLiteral("secondsPicker"));
    m_secondsPicker->setAccessibleName(QStringLiteral("Seek time"));
    for (const double preset : m_presets) {
        m_secondsPicker->addItem(wholeSecondsText(preset) + QLatin1Char('s'), preset);
    }
    m_secondsPicker->insertSeparator(m_secondsPicker->count());
    m_secondsPicker->addItem(customLabel, customTag);
    // Wide enough for its longest entry in any font.
    m_secondsPicker->setFixedWidth(std::max(pickerWidth, m_secondsPicker->sizeHint().width()));
    // Only the user's choice is a write; showing the store's value is not.
    connect(m_secondsPicker, &QComboBox::activated, this,
            [this](int index) { setPickerSelection(m_secondsPicker->itemData(index).toDouble()); });
    m_customField = new QLineEdit(seconds);
    m_customField->setObjectName(QStringLiteral("customSecondsField"));
    m_customField->setAccessibleName(QStringLiteral("Custom seek time in seconds"));
    m_customField->setFixedWidth(customFieldWidth);
    connect(m_customField, &QLineEdit::textEdited, this, &ActionEditor::applyCustomValue);
    connect(m_customField, &QLineEdit::returnPressed, this, &ActionEditor::applyCustomValue);
    m_customUnit = new TintedLabel(QStringLiteral("s"), Style::Role::secondary, seconds);
    m_customUnit->setObjectName(QStringLiteral("customSecondsUnit"));
    secondsLayout->addStretch();
    secondsLayout->addWidget(m_secondsPicker);
    secondsLayout->addWidget(m_customField);
    secondsLayout->addWidget(m_customUnit);
    m_secondsRow = row(QStringLiteral("Seek time"), seconds);
    layout->addWidget(m_secondsRow);

    m_recorder = new HotkeyRecorder(style, this);
    m_recorder->setObjectName(QStringLiteral("hotkeyRecorder"));
    connect(m_recorder, &HotkeyRecorder::changed, this,
            [this](std::uint16_t keyCode, std::uint32_t carbonModifiers) {
                m_binding.update([keyCode, carbonModifiers](SeekAction& action) {
                    action.keyCode = keyCode;
                    action.carbonModifiers = carbonModifiers;
                });
            });
    connect(m_recorder, &HotkeyRecorder::recordingChanged, this, &ActionEditor::recordingChanged);
    auto* recorderColumn = new QWidget(this);
    auto* recorderLayout = new QHBoxLayout(recorderColumn);
    recorderLayout->setContentsMargins(0, 0, 0, 0);
    recorderLayout->addStretch();
    recorderLayout->addWidget(m_recorder);
    layout->addWidget(row(QStringLiteral("Hotkey"), recorderColumn));

    auto* testRow = new QHBoxLayout;
    testRow->addStretch();
    m_test = new QPushButton(QStringLiteral("Test"), this);
    m_test->setObjectName(QStringLiteral("testButton"));
    m_test->setAutoDefault(false);
    m_test->setFont(Style::captionFont());
    connect(m_test, &QPushButton::clicked, this, [this] {
        if (const auto action = m_binding.action()) {
            emit testRequested(action->signedSeconds());
        }
    });
    testRow->addWidget(m_test);
    layout->addLayout(testRow);

    showCustom(false, QString());
    showAction();
}

ActionEditor::~ActionEditor() {
    // A recorder that goes while recording says so; it must find this editor whole.
    delete m_recorder;
}

QWidget* ActionEditor::row(const QString& title, QWidget* control) {
    auto* line = new QWidget(this);
    auto* layout = new QHBoxLayout(line);
    layout->setContentsMargins(0, 0, 0, 0);
    auto* label = new TintedLabel(title, Style::Role::secondary, line);
    label->setObjectName(QStringLiteral("editorRowTitle"));
    label->setSizePolicy(QSizePolicy::Fixed, QSizePolicy::Preferred);
    label->setBuddy(control);
    layout->addWidget(label);
    layout->addStretch();
    control->setParent(line);
    control->setFixedWidth(controlWidth);
    layout->addWidget(control);
    return line;
}

double ActionEditor::pickerSelection() const {
    if (m_useCustom) {
        return customTag;
    }
    const auto action = m_binding.action();
    if (!action) {
        return customTag;
    }
    for (const double preset : m_presets) {
        if (action->seconds == preset) {
            return preset;
        }
    }
    return customTag;
}

void ActionEditor::setPickerSelection(double value) {
    if (value == customTag) {
        if (const auto action = m_binding.action()) {
            showCustom(true, wholeSecondsText(action->seconds));
        }
    } else {
        showCustom(false, customText());
        m_binding.update([value](SeekAction& action) { action.seconds = value; });
    }
    showAction();
}

void ActionEditor::applyCustomValue() {
    if (const auto seconds = customSeconds(m_customField->text())) {
        m_binding.update([value = *seconds](SeekAction& action) { action.seconds = value; });
    }
}

QString ActionEditor::customText() const {
    return m_customField->text();
}

void ActionEditor::showCustom(bool on, const QString& text) {
    m_useCustom = on;
    // Setting the text is not an edit: it applies nothing.
    m_customField->setText(text);
    m_customField->setVisible(on);
    m_customUnit->setVisible(on);
}

void ActionEditor::showAction() {
    const auto action = m_binding.action();
    if (!action) {
        return;
    }
    const auto directions = SeekAction::allDirections();
    const auto direction = std::find(directions.begin(), directions.end(), action->direction);
    m_direction->setSelectedIndex(direction - directions.begin());
    // A play/pause action keeps its step for when it is turned back into a seek.
    m_secondsRow->setVisible(action->direction != SeekAction::Direction::playPause);
    m_secondsPicker->setCurrentIndex(m_secondsPicker->findData(pickerSelection()));
    m_recorder->setKeyCode(action->keyCode);
    m_recorder->setCarbonModifiers(action->carbonModifiers);
    m_recorder->setAccessibleLabel(QStringLiteral("Hotkey for ") + action->label());
    m_test->setAccessibleName(QStringLiteral("Test ") + action->label());
}

void ActionEditor::setModifierMapping(const HotkeyRecorder::ModifierMapping& mapping) {
    m_recorder->setModifierMapping(mapping);
}

void ActionEditor::showEvent(QShowEvent* event) {
    QWidget::showEvent(event);
    if (event->spontaneous()) {
        return;
    }
    // Each time the editor appears, a step that is no preset opens in the custom field.
    if (const auto action = m_binding.action()) {
        const bool preset =
            std::find(m_presets.begin(), m_presets.end(), action->seconds) != m_presets.end();
        if (!preset) {
            showCustom(true, wholeSecondsText(action->seconds));
        }
    }
    showAction();
}
