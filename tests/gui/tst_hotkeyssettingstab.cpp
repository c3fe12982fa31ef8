#include "models/KeyTable.h"
#include "support/ControllerRig.h"
#include "support/Screenshots.h"
#include "views/settings/ActionEditor.h"
#include "views/settings/ActionRowContainer.h"
#include "views/settings/ActionRowHeader.h"
#include "views/settings/HotkeyRecorder.h"
#include "views/settings/HotkeysSettingsTab.h"
#include "views/settings/SettingsView.h"
#include "views/widgets/Style.h"
#include "views/widgets/SymbolButton.h"
#include "views/widgets/SymbolView.h"

#include <QAccessible>
#include <QApplication>
#include <QComboBox>
#include <QEnterEvent>
#include <QLabel>
#include <QLayout>
#include <QLineEdit>
#include <QPushButton>
#include <QSignalSpy>
#include <QToolButton>
#include <QtTest>

#include <memory>

namespace {

using Direction = SeekAction::Direction;

const QString conflictText =
    QStringLiteral("Some actions share the same hotkey. Only one will trigger.");
const QString unavailableText = QStringLiteral("In use by another program");

// Control+Option+Command, and the same with Shift instead of Command.
constexpr std::uint32_t controlOptionCommand = 6400;
constexpr std::uint32_t controlOptionShift = 6656;
constexpr std::uint16_t rightArrow = 124;
constexpr std::uint16_t leftArrow = 123;

SeekAction action(Direction direction, double seconds, std::uint16_t keyCode = 0,
                  std::uint32_t modifiers = 0) {
    return SeekAction(direction, seconds, keyCode, modifiers);
}

bool isOrange(const QColor& color) {
    return color.hslSaturation() > 150 && color.hslHue() >= 25 && color.hslHue() <= 45;
}

} // namespace

class TestHotkeysSettingsTab : public QObject {
    Q_OBJECT

private:
    std::unique_ptr<ControllerRig> m_rig;
    std::unique_ptr<HotkeysSettingsTab> m_tab;

    AppSettings& settings() { return m_rig->settings(); }

    HotkeysSettingsTab& openTab() {
        m_tab = std::make_unique<HotkeysSettingsTab>(settings(), KeyTable::ModifierStyle::glyphs);
        m_tab->resize(456, m_tab->sizeHint().height());
        m_tab->show();
        if (!QTest::qWaitForWindowExposed(m_tab.get())) {
            qWarning("the tab was not exposed");
        }
        return *m_tab;
    }

    // The rows from top to bottom as they are laid out.
    QList<ActionRowContainer*> shownRows() {
        // The nested layouts are redone by posted requests.
        QApplication::sendPostedEvents(nullptr, QEvent::LayoutRequest);
        m_tab->layout()->activate();
        QList<ActionRowContainer*> rows;
        for (ActionRowContainer* row :
             m_tab->findChildren<ActionRowContainer*>(QStringLiteral("actionRow"))) {
            if (row->isVisibleTo(m_tab.get())) {
                rows << row;
            }
        }
        std::sort(rows.begin(), rows.end(), [this](const QWidget* a, const QWidget* b) {
            return a->mapTo(m_tab.get(), QPoint()).y() < b->mapTo(m_tab.get(), QPoint()).y();
        });
        return rows;
    }

    ActionRowContainer* row(int index) {
        const QList<ActionRowContainer*> rows = shownRows();
        return index < rows.size() ? rows[index] : nullptr;
    }

    QString labelOf(ActionRowContainer* row) {
        return row->findChild<QLabel*>(QStringLiteral("actionLabel"))->text();
    }
    QString hotkeyOf(ActionRowContainer* row) {
        return row->findChild<QLabel*>(QStringLiteral("hotkeyLabel"))->text();
    }
    bool marked(ActionRowContainer* row) {
        return row->findChild<SymbolView*>(QStringLiteral("conflictMark"))->isVisibleTo(row);
    }
    QLabel* noteOf(ActionRowContainer* row) {
        return row->findChild<QLabel*>(QStringLiteral("actionNote"));
    }
    QWidget* conflictFooter() {
        return m_tab->findChild<QWidget*>(QStringLiteral("conflictFooter"));
    }

    QComboBox* picker(ActionRowContainer* row) {
        return row->findChild<QComboBox*>(QStringLiteral("secondsPicker"));
    }
    QLineEdit* field(ActionRowContainer* row) {
        return row->findChild<QLineEdit*>(QStringLiteral("customSecondsField"));
    }

    void click(QWidget* widget) {
        QVERIFY(widget != nullptr);
        QVERIFY(widget->isVisible());
        QTest::mouseClick(widget, Qt::LeftButton, {}, widget->rect().center());
    }

    void clickHeader(ActionRowContainer* row) {
        QVERIFY(row != nullptr);
        // Left of the label, where nothing but the line itself is.
        QTest::mouseClick(row->header(), Qt::LeftButton, {},
                          QPoint(30, row->header()->height() / 2));
    }

    void hover(QWidget* widget) {
        const QPointF at = widget->rect().center();
        QEnterEvent enter(at, widget->mapToGlobal(at), widget->mapToGlobal(at));
        QApplication::sendEvent(widget, &enter);
    }

    void unhover(QWidget* widget) {
        QEvent leave(QEvent::Leave);
        QApplication::sendEvent(widget, &leave);
    }

    // Chooses the picker entry with this text as a person would, by the popup's activation.
    void choose(ActionRowContainer* row, const QString& text) {
        QComboBox* box = picker(row);
        QVERIFY(box != nullptr);
        const int index = box->findText(text);
        QVERIFY2(index >= 0, qPrintable(text));
        box->setCurrentIndex(index);
        emit box->activated(index);
    }

    // The next widget Tab goes to.
    static QWidget* nextTabStop(QWidget* from) {
        QWidget* next = from;
        do {
            next = next->nextInFocusChain();
        } while (next != from && !(next->isVisible() && next->isEnabled() &&
                                   (next->focusPolicy() & Qt::TabFocus) != 0));
        return next;
    }

    double storedSeconds(int index) { return settings().seekActions().at(index).seconds; }

    // Types `text` into the custom field of `row`, replacing what it holds, and answers the
    // steps the store held after each keystroke.
    QList<double> typeCustom(ActionRowContainer* row, const QString& text) {
        QLineEdit* edit = field(row);
        edit->setFocus();
        edit->selectAll();
        QTest::keyClick(edit, Qt::Key_Backspace);
        QList<double> steps;
        for (const QChar c : text) {
            QTest::keyClicks(edit, QString(c));
            steps << settings().seekActions().first().seconds;
        }
        return steps;
    }

private slots:
    void init() {
        m_rig = std::make_unique<ControllerRig>(referenceApps());
        settings().setSeekActions({});
    }
    void cleanup() {
        m_tab.reset();
        m_rig.reset();
        QApplication::setPalette(QApplication::style()->standardPalette());
    }

    void anEmptyListShowsTheEmptyStateAndAddAction() {
        openTab();
        auto* empty = m_tab->findChild<QWidget*>(QStringLiteral("emptyState"));
        QVERIFY(empty->isVisible());
        QCOMPARE(m_tab->findChild<QLabel*>(QStringLiteral("emptyStateText"))->text(),
                 QStringLiteral("No seek actions configured"));
        auto* add = m_tab->findChild<QToolButton*>(QStringLiteral("addActionButton"));
        QVERIFY(add->isVisible());
        QCOMPARE(add->text(), QStringLiteral("Add Action"));
        QCOMPARE(shownRows().size(), 0);
    }

    void addActionOpensANewForwardTenSecondsRowWithoutHotkey() {
        openTab();
        click(m_tab->findChild<QToolButton*>(QStringLiteral("addActionButton")));
        QCOMPARE(shownRows().size(), 1);
        ActionRowContainer* added = row(0);
        QCOMPARE(labelOf(added), QStringLiteral("Forward 10s"));
        QCOMPARE(hotkeyOf(added), QStringLiteral("No hotkey"));
        QVERIFY(added->isExpanded());
        QCOMPARE(m_tab->expandedID(), added->id());
        QCOMPARE(picker(added)->currentText(), QStringLiteral("10s"));
        QVERIFY(!field(added)->isVisible());
        QVERIFY(!m_tab->findChild<QWidget*>(QStringLiteral("emptyState"))->isVisible());
        QCOMPARE(settings().seekActions().size(), 1);
        const SeekAction& stored = settings().seekActions().first();
        QCOMPARE(stored.direction, Direction::forward);
        QCOMPARE(stored.seconds, 10.0);
        QCOMPARE(stored.keyCode, std::uint16_t(0));
        QCOMPARE(stored.carbonModifiers, std::uint32_t(0));
        // Ready to record from the keyboard.
        QCOMPARE(m_tab->focusWidget(), added->editor()->recorder());
    }

    void addActionClosesTheOpenRowAndAppends() {
        settings().setSeekActions({action(Direction::backward, 15, leftArrow, 6400)});
        openTab();
        clickHeader(row(0));
        QVERIFY(row(0)->isExpanded());
        click(m_tab->findChild<QToolButton*>(QStringLiteral("addActionButton")));
        QCOMPARE(shownRows().size(), 2);
        QVERIFY(!row(0)->isExpanded());
        QVERIFY(row(1)->isExpanded());
        QCOMPARE(settings().seekActions().last().id(), row(1)->id());
    }

    void actionsSharingAHotkeyAreAllMarked() {
        settings().setSeekActions(
            {action(Direction::forward, 10, rightArrow, controlOptionCommand),
             action(Direction::playPause, 10, rightArrow, controlOptionCommand),
             action(Direction::backward, 10, leftArrow, controlOptionCommand),
             action(Direction::forward, 5), action(Direction::forward, 30)});
        openTab();
        QCOMPARE(m_tab->conflictingActionIDs(),
                 (QSet<QUuid>{settings().seekActions()[0].id(), settings().seekActions()[1].id()}));
        QVERIFY(marked(row(0)));
        QVERIFY(marked(row(1)));
        QVERIFY(!marked(row(2)));
        // Two actions without a hotkey never conflict.
        QVERIFY(!marked(row(3)));
        QVERIFY(!marked(row(4)));
        QVERIFY(conflictFooter()->isVisible());
        QCOMPARE(m_tab->findChild<QLabel*>(QStringLiteral("conflictText"))->text(), conflictText);
        QVERIFY(isOrange(m_tab->findChild<QLabel*>(QStringLiteral("conflictText"))
                             ->palette()
                             .color(QPalette::WindowText)));
    }

    void theSameKeyWithOtherModifiersIsNoConflict() {
        settings().setSeekActions({action(Direction::forward, 10, rightArrow, controlOptionCommand),
                                   action(Direction::forward, 30, rightArrow, 6144)});
        openTab();
        QVERIFY(m_tab->conflictingActionIDs().isEmpty());
        QVERIFY(!marked(row(0)));
        QVERIFY(!marked(row(1)));
        QVERIFY(!conflictFooter()->isVisible());
        QVERIFY(m_tab->findChild<QLabel*>(QStringLiteral("systemWideText"))->isVisible());
        QVERIFY(m_tab->findChild<QLabel*>(QStringLiteral("clickText"))->isVisible());
    }

    void aConflictMadeInTheEditorIsMarkedAtOnce() {
        settings().setSeekActions(
            {action(Direction::forward, 10, rightArrow, controlOptionCommand),
             action(Direction::backward, 10, leftArrow, controlOptionCommand)});
        openTab();
        clickHeader(row(1));
        HotkeyRecorder* recorder = row(1)->editor()->recorder();
        click(recorder);
        QVERIFY(recorder->isRecording());
        QTest::keyClick(recorder, Qt::Key_Right,
                        Qt::ControlModifier | Qt::AltModifier | Qt::MetaModifier);
        QVERIFY(marked(row(0)));
        QVERIFY(marked(row(1)));
        QVERIFY(conflictFooter()->isVisible());
    }

    void openingARowClosesTheOtherAndClickingTheOpenOneClosesIt() {
        settings().setSeekActions(
            {action(Direction::forward, 10, rightArrow, controlOptionCommand),
             action(Direction::backward, 10, leftArrow, controlOptionCommand)});
        openTab();
        QVERIFY(!m_tab->expandedID());
        clickHeader(row(0));
        QVERIFY(row(0)->isExpanded());
        clickHeader(row(1));
        QVERIFY(!row(0)->isExpanded());
        QVERIFY(row(1)->isExpanded());
        QCOMPARE(m_tab->expandedID(), row(1)->id());
        clickHeader(row(1));
        QVERIFY(!row(0)->isExpanded());
        QVERIFY(!row(1)->isExpanded());
        QVERIFY(!m_tab->expandedID());
        // The keyboard opens it too.
        row(0)->header()->setFocus();
        QTest::keyClick(row(0)->header(), Qt::Key_Space);
        QVERIFY(row(0)->isExpanded());
    }

    void deletingTheOpenRowLeavesAllClosed() {
        settings().setSeekActions({action(Direction::forward, 10, rightArrow, controlOptionCommand),
                                   action(Direction::backward, 10, leftArrow, controlOptionCommand),
                                   action(Direction::forward, 30, rightArrow, controlOptionShift)});
        const QUuid middle = settings().seekActions()[1].id();
        openTab();
        clickHeader(row(1));
        click(row(1)->deleteButton());
        QCOMPARE(shownRows().size(), 2);
        QVERIFY(!m_tab->expandedID());
        QVERIFY(!row(0)->isExpanded());
        QVERIFY(!row(1)->isExpanded());
        QCOMPARE(settings().seekActions().size(), 2);
        for (const SeekAction& left : settings().seekActions()) {
            QVERIFY(left.id() != middle);
        }
        QCOMPARE(labelOf(row(1)), QStringLiteral("Forward 30s"));
    }

    void deletingAnotherRowLeavesTheOpenRowOpen() {
        settings().setSeekActions(
            {action(Direction::forward, 10, rightArrow, controlOptionCommand),
             action(Direction::backward, 10, leftArrow, controlOptionCommand)});
        openTab();
        clickHeader(row(1));
        const QUuid open = row(1)->id();
        hover(row(0)->header());
        click(row(0)->deleteButton());
        QCOMPARE(shownRows().size(), 1);
        QCOMPARE(row(0)->id(), open);
        QVERIFY(row(0)->isExpanded());
        QCOMPARE(m_tab->expandedID(), open);
    }

    void theTrashIsInvisibleAndInertUntilThePointerIsOverTheRow() {
        settings().setSeekActions(
            {action(Direction::forward, 10, rightArrow, controlOptionCommand)});
        openTab();
        SymbolButton* trash = row(0)->deleteButton();
        QCOMPARE(trash->color().alpha(), 0);
        QVERIFY(!trash->isEnabled());
        click(trash);
        QCOMPARE(settings().seekActions().size(), 1);
        QVERIFY(!row(0)->isExpanded());

        hover(row(0)->header());
        QVERIFY(row(0)->isHovered());
        QVERIFY(trash->isEnabled());
        QTRY_VERIFY(trash->color().alpha() > 0);
        // Red at 60 %, once it has faded in.
        QTRY_COMPARE(trash->color().alpha(), 153);
        unhover(row(0)->header());
        QVERIFY(!trash->isEnabled());
        QTRY_COMPARE(trash->color().alpha(), 0);

        hover(row(0)->header());
        click(trash);
        QCOMPARE(settings().seekActions().size(), 0);
        QVERIFY(m_tab->findChild<QWidget*>(QStringLiteral("emptyState"))->isVisible());
    }

    void anOpenRowShowsItsTrash() {
        settings().setSeekActions(
            {action(Direction::forward, 10, rightArrow, controlOptionCommand)});
        openTab();
        clickHeader(row(0));
        unhover(row(0)->header());
        QVERIFY(row(0)->deleteButton()->isEnabled());
        QTRY_COMPARE(row(0)->deleteButton()->color().alpha(), 153);
    }

    void aStepThatIsNoPresetOpensOnCustom_data() {
        QTest::addColumn<double>("seconds");
        QTest::addColumn<QString>("shown");
        QTest::newRow("20") << 20.0 << QStringLiteral("20");
        QTest::newRow("7.5") << 7.5 << QStringLiteral("7");
        QTest::newRow("12.9") << 12.9 << QStringLiteral("12");
    }
    void aStepThatIsNoPresetOpensOnCustom() {
        QFETCH(double, seconds);
        QFETCH(QString, shown);
        settings().setSeekActions(
            {action(Direction::forward, seconds, rightArrow, controlOptionCommand)});
        openTab();
        clickHeader(row(0));
        ActionEditor* editor = row(0)->editor();
        QVERIFY(editor->useCustom());
        QCOMPARE(editor->pickerSelection(), ActionEditor::customTag);
        QCOMPARE(picker(row(0))->currentText(), QStringLiteral("Custom"));
        QVERIFY(field(row(0))->isVisible());
        QCOMPARE(field(row(0))->text(), shown);
        // Shown whole, kept as it is until the field is edited.
        QCOMPARE(storedSeconds(0), seconds);
        QCOMPARE(labelOf(row(0)), QStringLiteral("Forward ") + shown + QLatin1Char('s'));
    }

    void aPresetStepOpensOnItsPreset() {
        settings().setSeekActions(
            {action(Direction::backward, 45, leftArrow, controlOptionCommand)});
        openTab();
        clickHeader(row(0));
        QVERIFY(!row(0)->editor()->useCustom());
        QCOMPARE(picker(row(0))->currentText(), QStringLiteral("45s"));
        QVERIFY(!field(row(0))->isVisible());
        QStringList entries;
        for (int i = 0; i < picker(row(0))->count(); ++i) {
            entries << picker(row(0))->itemText(i);
        }
        QCOMPARE(entries,
                 (QStringList{QStringLiteral("5s"), QStringLiteral("10s"), QStringLiteral("15s"),
                              QStringLiteral("30s"), QStringLiteral("45s"), QStringLiteral("60s"),
                              QString(), QStringLiteral("Custom")}));
    }

    void choosingCustomShowsTheFieldWithoutChangingTheStep() {
        settings().setSeekActions(
            {action(Direction::forward, 15, rightArrow, controlOptionCommand)});
        openTab();
        clickHeader(row(0));
        QSignalSpy changes(&settings(), &AppSettings::seekActionsChanged);
        choose(row(0), QStringLiteral("Custom"));
        QVERIFY(field(row(0))->isVisible());
        QCOMPARE(field(row(0))->text(), QStringLiteral("15"));
        QCOMPARE(storedSeconds(0), 15.0);
        QCOMPARE(changes.count(), 0);
        choose(row(0), QStringLiteral("30s"));
        QVERIFY(!field(row(0))->isVisible());
        QVERIFY(!row(0)->editor()->useCustom());
        QCOMPARE(storedSeconds(0), 30.0);
        QCOMPARE(labelOf(row(0)), QStringLiteral("Forward 30s"));
    }

    void typingFortyFiveSetsFourThenFortyFive() {
        settings().setSeekActions(
            {action(Direction::forward, 15, rightArrow, controlOptionCommand)});
        openTab();
        clickHeader(row(0));
        choose(row(0), QStringLiteral("Custom"));
        QCOMPARE(typeCustom(row(0), QStringLiteral("45")), (QList<double>{4.0, 45.0}));
        // "400" after "40": the last keystroke is out of range and 40 stays.
        QCOMPARE(typeCustom(row(0), QStringLiteral("400")), (QList<double>{4.0, 40.0, 40.0}));
        QCOMPARE(field(row(0))->text(), QStringLiteral("400"));
        QCOMPARE(labelOf(row(0)), QStringLiteral("Forward 40s"));
        // The picker stays on Custom while the field is open, even on a preset value.
        typeCustom(row(0), QStringLiteral("30"));
        QCOMPARE(storedSeconds(0), 30.0);
        QCOMPARE(picker(row(0))->currentText(), QStringLiteral("Custom"));
    }

    void theCustomFieldTakesOnlyWholeNumbersFromOneToThreeHundred_data() {
        QTest::addColumn<QString>("text");
        QTest::addColumn<double>("expected");
        QTest::newRow("0") << QStringLiteral("0") << 15.0;
        QTest::newRow("301") << QStringLiteral("301") << 15.0;
        QTest::newRow("abc") << QStringLiteral("abc") << 15.0;
        QTest::newRow("leading space") << QStringLiteral(" 5") << 15.0;
        QTest::newRow("trailing space") << QStringLiteral("5 ") << 15.0;
        QTest::newRow("leading tab") << QStringLiteral("\t5") << 15.0;
        QTest::newRow("comma") << QStringLiteral("2,5") << 15.0;
        QTest::newRow("0.5") << QStringLiteral("0.5") << 15.0;
        QTest::newRow("-5") << QStringLiteral("-5") << 15.0;
        QTest::newRow("inf") << QStringLiteral("inf") << 15.0;
        QTest::newRow("nan") << QStringLiteral("nan") << 15.0;
        QTest::newRow("empty") << QString() << 15.0;
        QTest::newRow("1") << QStringLiteral("1") << 1.0;
        QTest::newRow("300") << QStringLiteral("300") << 300.0;
        QTest::newRow("2.5") << QStringLiteral("2.5") << 2.5;
        QTest::newRow("1e2") << QStringLiteral("1e2") << 100.0;
        QTest::newRow("+5") << QStringLiteral("+5") << 5.0;
        QTest::newRow("hexadecimal") << QStringLiteral("0x1E") << 30.0;
        QTest::newRow("5.") << QStringLiteral("5.") << 5.0;
    }
    void theCustomFieldTakesOnlyWholeNumbersFromOneToThreeHundred() {
        QFETCH(QString, text);
        QFETCH(double, expected);
        settings().setSeekActions(
            {action(Direction::forward, 15, rightArrow, controlOptionCommand)});
        openTab();
        clickHeader(row(0));
        choose(row(0), QStringLiteral("Custom"));
        QLineEdit* edit = field(row(0));
        // The whole text at once, as a paste is, then Return.
        edit->setFocus();
        edit->selectAll();
        QTest::keyClick(edit, Qt::Key_Backspace);
        QCOMPARE(storedSeconds(0), 15.0);
        edit->insert(text);
        QTest::keyClick(edit, Qt::Key_Return);
        QCOMPARE(storedSeconds(0), expected);
        // The field keeps what was typed, taken or not.
        QCOMPARE(edit->text(), text);
    }

    void returnAppliesTheFieldAgain() {
        settings().setSeekActions(
            {action(Direction::forward, 15, rightArrow, controlOptionCommand)});
        openTab();
        clickHeader(row(0));
        choose(row(0), QStringLiteral("Custom"));
        typeCustom(row(0), QStringLiteral("25"));
        QCOMPARE(storedSeconds(0), 25.0);
        // Changed from elsewhere; Return puts the field's value back.
        QList<SeekAction> actions = settings().seekActions();
        actions[0].seconds = 60;
        settings().setSeekActions(actions);
        QTest::keyClick(field(row(0)), Qt::Key_Return);
        QCOMPARE(storedSeconds(0), 25.0);
    }

    void playPauseHidesTheStepAndKeepsIt() {
        settings().setSeekActions(
            {action(Direction::forward, 45, rightArrow, controlOptionCommand)});
        openTab();
        clickHeader(row(0));
        auto* seekTime = picker(row(0))->parentWidget()->parentWidget();
        QVERIFY(seekTime->isVisible());
        click(row(0)->findChildren<QToolButton*>().at(2));
        QCOMPARE(settings().seekActions().first().direction, Direction::playPause);
        QCOMPARE(labelOf(row(0)), QStringLiteral("Play/Pause"));
        QVERIFY(!seekTime->isVisible());
        QCOMPARE(storedSeconds(0), 45.0);
        click(row(0)->findChildren<QToolButton*>().at(1));
        QCOMPARE(settings().seekActions().first().direction, Direction::backward);
        QVERIFY(seekTime->isVisible());
        QCOMPARE(picker(row(0))->currentText(), QStringLiteral("45s"));
        QCOMPARE(labelOf(row(0)), QStringLiteral("Backward 45s"));
    }

    void recordingControlOptionRightStoresItsCodeAndMask() {
        settings().setSeekActions({action(Direction::forward, 10)});
        openTab();
        clickHeader(row(0));
        HotkeyRecorder* recorder = row(0)->editor()->recorder();
        click(recorder);
        QTest::keyClick(recorder, Qt::Key_Right, Qt::ControlModifier | Qt::AltModifier);
        QCOMPARE(settings().seekActions().first().keyCode, rightArrow);
        QCOMPARE(settings().seekActions().first().carbonModifiers, std::uint32_t(6144));
        QCOMPARE(hotkeyOf(row(0)), QStringLiteral("⌃⌥→"));
        QVERIFY(!recorder->isRecording());
    }

    void theTabSaysWhileARecorderRecords() {
        settings().setSeekActions(
            {action(Direction::forward, 10, rightArrow, controlOptionCommand),
             action(Direction::backward, 10, leftArrow, controlOptionCommand)});
        openTab();
        QSignalSpy recording(m_tab.get(), &HotkeysSettingsTab::recordingChanged);
        clickHeader(row(0));
        click(row(0)->editor()->recorder());
        QCOMPARE(recording.count(), 1);
        QCOMPARE(recording.at(0).at(0).toBool(), true);
        // Escape ends it with the old combination.
        QTest::keyClick(row(0)->editor()->recorder(), Qt::Key_Escape);
        QCOMPARE(recording.count(), 2);
        QCOMPARE(recording.at(1).at(0).toBool(), false);
        QCOMPARE(settings().seekActions().first().keyCode, rightArrow);
        // Closing the row while it records ends it too.
        click(row(0)->editor()->recorder());
        QCOMPARE(recording.count(), 3);
        clickHeader(row(1));
        QCOMPARE(recording.count(), 4);
        QCOMPARE(recording.at(3).at(0).toBool(), false);
        // And so does the tab going away.
        click(row(1)->editor()->recorder());
        QCOMPARE(recording.count(), 5);
        m_tab->hide();
        QCOMPARE(recording.count(), 6);
        QCOMPARE(recording.at(5).at(0).toBool(), false);
    }

    void deletingARowWhileItRecordsLetsTheHotkeysBack() {
        settings().setSeekActions(
            {action(Direction::forward, 10, rightArrow, controlOptionCommand)});
        openTab();
        QSignalSpy recording(m_tab.get(), &HotkeysSettingsTab::recordingChanged);
        clickHeader(row(0));
        click(row(0)->editor()->recorder());
        click(row(0)->deleteButton());
        QCOMPARE(recording.count(), 2);
        QCOMPARE(recording.at(1).at(0).toBool(), false);
    }

    void testSubmitsTheSignedStepThroughTheQueue() {
        settings().setSeekActions({action(Direction::backward, 15, leftArrow, controlOptionCommand),
                                   action(Direction::playPause, 10, 49, controlOptionCommand)});
        m_rig->start({MediaApp::spotify});
        m_rig->players().setSeekAnswer(MediaApp::spotify, {SeekResult::seeked});
        openTab();
        connect(m_tab.get(), &HotkeysSettingsTab::seekRequested, &m_rig->controller(),
                &MediaController::enqueueSeek);
        QSignalSpy finished(&m_rig->controller(), &MediaController::seekFinished);
        clickHeader(row(0));
        click(row(0)->findChild<QPushButton*>(QStringLiteral("testButton")));
        QVERIFY(finished.wait());
        QCOMPARE(m_rig->players().seekSeconds(), (QList<double>{-15.0}));
        clickHeader(row(1));
        click(row(1)->findChild<QPushButton*>(QStringLiteral("testButton")));
        QTRY_COMPARE(finished.count(), 2);
        QCOMPARE(m_rig->players().subjects(FakePlayers::Call::playPause),
                 (QStringList{MediaApp(MediaApp::spotify).rawValue()}));
        QCOMPARE(m_rig->players().seekSeconds(), (QList<double>{-15.0, 0.0}));
    }

    void rowsAreNamedForScreenReaders() {
        settings().setSeekActions({action(Direction::forward, 10, rightArrow, controlOptionCommand),
                                   action(Direction::backward, 5)});
        openTab();
        QAccessibleInterface* first = QAccessible::queryAccessibleInterface(row(0)->header());
        QCOMPARE(first->role(), QAccessible::Button);
        QCOMPARE(first->text(QAccessible::Name), QStringLiteral("Forward 10s, hotkey ⌃⌥⌘→"));
        QCOMPARE(first->text(QAccessible::Description), QStringLiteral("Double-tap to edit"));
        QCOMPARE(QAccessible::queryAccessibleInterface(row(1)->header())->text(QAccessible::Name),
                 QStringLiteral("Backward 5s, hotkey not set"));
        clickHeader(row(0));
        QCOMPARE(first->text(QAccessible::Description), QStringLiteral("Double-tap to collapse"));
        QCOMPARE(
            QAccessible::queryAccessibleInterface(row(0)->deleteButton())->text(QAccessible::Name),
            QStringLiteral("Delete Forward 10s"));
        QCOMPARE(row(0)->editor()->recorder()->accessibleName(),
                 QStringLiteral("Hotkey for Forward 10s"));
    }

    void aHotkeyAnotherProgramHoldsIsMarkedInItsRow() {
        settings().setSeekActions(
            {action(Direction::forward, 10, rightArrow, controlOptionCommand),
             action(Direction::backward, 10, leftArrow, controlOptionCommand)});
        openTab();
        QVERIFY(!noteOf(row(0))->isVisible());
        m_tab->setUnavailableActionIDs({settings().seekActions()[1].id()});
        QVERIFY(!noteOf(row(0))->isVisible());
        QVERIFY(noteOf(row(1))->isVisible());
        QCOMPARE(noteOf(row(1))->text(), unavailableText);
        // The colour it is drawn in, whichever role that is.
        QVERIFY(isOrange(noteOf(row(1))->palette().color(noteOf(row(1))->foregroundRole())));
        QCOMPARE(QAccessible::queryAccessibleInterface(row(1)->header())->text(QAccessible::Name),
                 QStringLiteral("Backward 10s, hotkey ⌃⌥⌘←, ") + unavailableText);
        // Once it is had again, the mark goes.
        m_tab->setUnavailableActionIDs({});
        QVERIFY(!noteOf(row(1))->isVisible());
        QCOMPARE(QAccessible::queryAccessibleInterface(row(1)->header())->text(QAccessible::Name),
                 QStringLiteral("Backward 10s, hotkey ⌃⌥⌘←"));
    }

    // Under a desktop that hands out the shortcuts itself, the row says which trigger it gave
    // where that is not the recorded one, as a note that informs rather than warns.
    void aTriggerTheDesktopChoseIsShownInItsRow() {
        settings().setSeekActions(
            {action(Direction::forward, 10, rightArrow, controlOptionCommand),
             action(Direction::backward, 10, leftArrow, controlOptionCommand)});
        openTab();
        const QUuid second = settings().seekActions()[1].id();
        m_tab->setAssignedTriggers({{second, QStringLiteral("Ctrl+Alt+B")}});
        QVERIFY(!noteOf(row(0))->isVisible());
        QVERIFY(noteOf(row(1))->isVisible());
        QCOMPARE(noteOf(row(1))->text(), QStringLiteral("The desktop set Ctrl+Alt+B"));
        QVERIFY(!isOrange(noteOf(row(1))->palette().color(noteOf(row(1))->foregroundRole())));
        QCOMPARE(QAccessible::queryAccessibleInterface(row(1)->header())->text(QAccessible::Name),
                 QStringLiteral("Backward 10s, hotkey ⌃⌥⌘←, The desktop set Ctrl+Alt+B"));
        // A combination another program holds says so first.
        m_tab->setUnavailableActionIDs({second});
        QCOMPARE(noteOf(row(1))->text(), unavailableText);
        QVERIFY(isOrange(noteOf(row(1))->palette().color(noteOf(row(1))->foregroundRole())));
        m_tab->setUnavailableActionIDs({});
        // Rows made later take it up too.
        settings().setSeekActions(settings().seekActions() +
                                  QList<SeekAction>{action(Direction::forward, 30)});
        QTRY_COMPARE(m_tab->rows().size(), 3);
        QCOMPARE(noteOf(row(1))->text(), QStringLiteral("The desktop set Ctrl+Alt+B"));
        m_tab->setAssignedTriggers({});
        QVERIFY(!noteOf(row(1))->isVisible());
    }

    void aHotkeyWithoutModifierSaysItNeedsOne() {
        settings().setSeekActions(
            {action(Direction::forward, 10, rightArrow, 0), action(Direction::forward, 30)});
        openTab();
        QVERIFY(noteOf(row(0))->isVisible());
        QCOMPARE(row(0)->standing(), ActionRowContainer::Standing::needsModifier);
        // No key at all is simply "No hotkey".
        QVERIFY(!noteOf(row(1))->isVisible());
        QCOMPARE(row(1)->standing(), ActionRowContainer::Standing::active);
    }

    void theRowsFollowTheStore() {
        openTab();
        settings().setSeekActions(
            {action(Direction::forward, 10, rightArrow, controlOptionCommand),
             action(Direction::backward, 10, leftArrow, controlOptionCommand)});
        QCOMPARE(shownRows().size(), 2);
        clickHeader(row(1));
        const QUuid open = row(1)->id();
        // Reversed from elsewhere: the open row moves with its action and stays open.
        QList<SeekAction> reversed = settings().seekActions();
        std::reverse(reversed.begin(), reversed.end());
        settings().setSeekActions(reversed);
        QCOMPARE(row(0)->id(), open);
        QVERIFY(row(0)->isExpanded());
        QCOMPARE(labelOf(row(0)), QStringLiteral("Backward 10s"));
        settings().resetToDefaults();
        QCOMPARE(shownRows().size(), SeekAction::defaults().size());
        QVERIFY(!m_tab->expandedID());
    }

    // As the tab is first made, inside the settings window as the program shows it: Tab goes
    // from the tab bar through the rows, in the order shown, and then to Add Action.
    void tabGoesThroughTheRowsInOrderFromTheStart() {
        settings().setSeekActions(
            {action(Direction::forward, 10, rightArrow, controlOptionCommand),
             action(Direction::backward, 10, leftArrow, controlOptionCommand)});
        SettingsView window(settings().defaults());
        window.setPage(QStringLiteral("general"), new QLabel(QStringLiteral("general")));
        auto* tab = new HotkeysSettingsTab(settings(), KeyTable::ModifierStyle::glyphs);
        window.setPage(QStringLiteral("hotkeys"), tab);
        window.selectTab(QStringLiteral("hotkeys"));
        window.show();
        QVERIFY(QTest::qWaitForWindowExposed(&window));
        QList<ActionRowContainer*> rows = tab->rows();
        QCOMPARE(rows.size(), 2);
        QCOMPARE(nextTabStop(window.tabBar()), static_cast<QWidget*>(rows[0]->header()));
        QCOMPARE(nextTabStop(rows[0]->header()), static_cast<QWidget*>(rows[1]->header()));
        QCOMPARE(nextTabStop(rows[1]->header()),
                 tab->findChild<QWidget*>(QStringLiteral("addActionButton")));
        // The first row opened: its editor's controls come before the next row.
        clickHeader(rows[0]);
        QVERIFY(rows[0]->isExpanded());
        QStringList stops;
        QWidget* walk = window.tabBar();
        for (int steps = 0; steps < 11; ++steps) {
            stops << walk->objectName();
            walk = nextTabStop(walk);
        }
        QCOMPARE(stops,
                 (QStringList{QStringLiteral("settingsTabs"), QStringLiteral("actionRowHeader"),
                              QStringLiteral("deleteButton"), QString(), QString(),
                              QString(), // the three directions
                              QStringLiteral("secondsPicker"), QStringLiteral("hotkeyRecorder"),
                              QStringLiteral("testButton"), QStringLiteral("actionRowHeader"),
                              QStringLiteral("addActionButton")}));
    }

    void tabGoesThroughTheRowsInOrder() {
        settings().setSeekActions(
            {action(Direction::forward, 10, rightArrow, controlOptionCommand)});
        openTab();
        click(m_tab->findChild<QToolButton*>(QStringLiteral("addActionButton")));
        // The new row's recorder, then its Test button, then Add Action.
        QWidget* recorder = row(1)->editor()->recorder();
        QCOMPARE(m_tab->focusWidget(), recorder);
        QWidget* test = row(1)->findChild<QWidget*>(QStringLiteral("testButton"));
        QCOMPARE(nextTabStop(recorder), test);
        QCOMPARE(nextTabStop(test), m_tab->findChild<QWidget*>(QStringLiteral("addActionButton")));
        // Row by row: header, delete button (only where it can be used: the open row), then the
        // open editor's controls.
        QWidget* walk = row(0)->header();
        QStringList stops;
        for (int steps = 0; steps < 11; ++steps) {
            stops << walk->objectName();
            walk = nextTabStop(walk);
        }
        QCOMPARE(stops,
                 (QStringList{QStringLiteral("actionRowHeader"), QStringLiteral("actionRowHeader"),
                              QStringLiteral("deleteButton"), QString(), QString(),
                              QString(), // the three directions
                              QStringLiteral("secondsPicker"), QStringLiteral("hotkeyRecorder"),
                              QStringLiteral("testButton"), QStringLiteral("addActionButton"),
                              QStringLiteral("actionRowHeader")}));
    }

    void screenshots_data() { Screenshots::addPaletteRows(); }
    void screenshots() {
        if (!Screenshots::wanted()) {
            QSKIP("pictures are taken by the screenshots run");
        }
        QFETCH(bool, dark);
        const QString theme = Screenshots::usePalette(dark);
        const auto shoot = [&](const QString& what) {
            m_tab->resize(456, m_tab->sizeHint().height());
            m_tab->layout()->activate();
            QApplication::processEvents();
            QVERIFY(!Screenshots::save(m_tab->grab(),
                                       QStringLiteral("hotkeys-tab-%1-%2").arg(what, theme))
                         .isEmpty());
        };
        openTab();
        shoot(QStringLiteral("empty"));

        settings().setSeekActions({action(Direction::forward, 10, rightArrow, controlOptionCommand),
                                   action(Direction::backward, 10, leftArrow, controlOptionCommand),
                                   action(Direction::playPause, 10, 49, controlOptionCommand),
                                   action(Direction::forward, 30)});
        shoot(QStringLiteral("rows"));
        hover(row(1)->header());
        QTRY_COMPARE(row(1)->deleteButton()->color().alpha(), 153);
        shoot(QStringLiteral("hovered"));
        unhover(row(1)->header());

        clickHeader(row(0));
        shoot(QStringLiteral("editor-preset"));
        choose(row(0), QStringLiteral("Custom"));
        typeCustom(row(0), QStringLiteral("25"));
        shoot(QStringLiteral("editor-custom"));

        QList<SeekAction> actions = settings().seekActions();
        actions[1].keyCode = rightArrow;
        settings().setSeekActions(actions);
        m_tab->setUnavailableActionIDs({actions[2].id()});
        shoot(QStringLiteral("conflict"));

        click(row(0)->editor()->recorder());
        shoot(QStringLiteral("recording"));
        QTest::keyClick(row(0)->editor()->recorder(), Qt::Key_Escape);
    }
};

QTEST_MAIN(TestHotkeysSettingsTab)
#include "tst_hotkeyssettingstab.moc"
