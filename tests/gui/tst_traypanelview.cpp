#include "support/ControllerRig.h"
#include "support/Screenshots.h"
#include "views/tray/PanelItemButton.h"
#include "views/tray/PanelItemLabel.h"
#include "views/tray/TrayPanelView.h"
#include "views/tray/TrayPanelWindow.h"
#include "views/tray/WelcomeView.h"
#include "views/widgets/ColorDot.h"

#include <QApplication>
#include <QLabel>
#include <QPushButton>
#include <QToolButton>
#include <QtTest>

#include <type_traits>

#include <memory>

namespace {

using Direction = SeekAction::Direction;
const QList<MediaApp> linuxApps{MediaApp::spotify, MediaApp::chromiumYouTube, MediaApp::firefox,
                                MediaApp::otherPlayers};
const QString vlcName = QStringLiteral("VLC media player");

// The named widget a person can see: the state rows not shown now are hidden, with their
// parts, until their state comes.
template <typename T = QWidget>
T* child(const QWidget& parent, const QString& name) {
    for (T* each : parent.findChildren<T*>(name)) {
        if (each->isVisibleTo(&parent)) {
            return each;
        }
    }
    return nullptr;
}

QString stateText(const TrayPanelView& view) {
    const auto* label = child<QLabel>(view, QStringLiteral("stateText"));
    return label != nullptr ? label->text() : QString();
}

QString stateSymbol(const TrayPanelView& view) {
    const auto* symbol = child(view, QStringLiteral("stateSymbol"));
    return symbol != nullptr ? symbol->property("symbolName").toString() : QString();
}

} // namespace

class TestTrayPanelView : public QObject {
    Q_OBJECT

private:
    std::unique_ptr<ControllerRig> m_rig;

    std::unique_ptr<TrayPanelView> makeView() {
        auto view = std::make_unique<TrayPanelView>(m_rig->status(), m_rig->settings(),
                                                    m_rig->desktop().defaultHotkeysHint(),
                                                    MediaApp::BrowserNaming::bySite);
        // As the application shell wires it.
        connect(view.get(), &TrayPanelView::seekRequested, &m_rig->controller(),
                &MediaController::enqueueSeek);
        return view;
    }

    void completeOnboarding() {
        m_rig->settings().defaults().setBool(TrayPanelView::onboardingKey, true);
    }

    // Linux's apps, with a player of "Other players" that plays and names itself.
    void useAnOtherPlayer() {
        m_rig = std::make_unique<ControllerRig>(linuxApps);
        m_rig->start({MediaApp::otherPlayers});
        m_rig->players().setSeekAnswer(MediaApp::otherPlayers,
                                       {SeekResult::seeked, std::nullopt, vlcName});
        m_rig->settings().setFeedbackDuration(30);
        completeOnboarding();
    }

    void setSteps(double forward, double backward) {
        m_rig->settings().setSeekActions({SeekAction(Direction::backward, backward, 123, 6400),
                                          SeekAction(Direction::forward, forward, 124, 6400)});
    }

private slots:
    void init() {
        m_rig = std::make_unique<ControllerRig>(referenceApps());
        m_rig->start({MediaApp::spotify});
        m_rig->players().setSeekAnswer(MediaApp::spotify, {SeekResult::seeked});
        m_rig->settings().setFeedbackDuration(30);
    }

    void cleanup() {
        m_rig.reset();
        QApplication::setPalette(QPalette());
        QCoreApplication::setApplicationVersion(QString());
    }

    void theFirstOpeningWelcomes() {
        const auto view = makeView();
        view->show();
        QVERIFY(QTest::qWaitForWindowExposed(view.get()));
        QVERIFY(!view->hasCompletedOnboarding());
        auto* welcome = view->findChild<WelcomeView*>();
        QVERIFY(welcome != nullptr && welcome->isVisible());
        QVERIFY(child(*view, QStringLiteral("mainMenu")) == nullptr);
        QCOMPARE(child<QLabel>(*view, QStringLiteral("welcomeTitle"))->text(),
                 QStringLiteral("Welcome to Scrubline"));
        QCOMPARE(child<QLabel>(*view, QStringLiteral("welcomeSummary"))->text(),
                 QStringLiteral(
                     "Global hotkeys to seek media in Spotify, Apple Music, YouTube, and more."));
        // Named as this desktop's keyboards label the preset modifiers.
        QCOMPARE(child<QLabel>(*view, QStringLiteral("hotkeysHint"))->text(),
                 QStringLiteral("Default: Ctrl+Alt+Super + Arrow Keys"));
        QCOMPARE(child<QLabel>(*view, QStringLiteral("forwardHint"))->text(),
                 QStringLiteral("Right Arrow: Forward 10s"));
        QCOMPARE(child<QLabel>(*view, QStringLiteral("backwardHint"))->text(),
                 QStringLiteral("Left Arrow: Backward 10s"));
        QCOMPARE(child(*view, QStringLiteral("hotkeysHintSymbol"))->property("symbolName"),
                 QStringLiteral("keyboard"));
        QCOMPARE(child(*view, QStringLiteral("forwardHintSymbol"))->property("symbolName"),
                 QStringLiteral("goforward.10"));
        QCOMPARE(child(*view, QStringLiteral("backwardHintSymbol"))->property("symbolName"),
                 QStringLiteral("gobackward.10"));
        QCOMPARE(child(*view, QStringLiteral("welcomeSymbol"))->property("symbolName"),
                 QStringLiteral("goforward.10"));
        QCOMPARE(child<QPushButton>(*view, QStringLiteral("getStartedButton"))->text(),
                 QStringLiteral("Get Started"));
        QVERIFY(view->width() >= 200 && view->width() <= 280);
        // The welcome content has no now-playing line to keep fresh.
        QVERIFY(!m_rig->status().isPollingNowPlaying());
    }

    void getStartedShowsTheMenuAtOnceAndForGood() {
        const auto view = makeView();
        view->show();
        QVERIFY(QTest::qWaitForWindowExposed(view.get()));
        QTest::mouseClick(child<QPushButton>(*view, QStringLiteral("getStartedButton")),
                          Qt::LeftButton);
        QWidget* menu = child(*view, QStringLiteral("mainMenu"));
        QVERIFY(menu != nullptr);
        QVERIFY(menu->isVisible());
        QVERIFY(view->hasCompletedOnboarding());
        QVERIFY(m_rig->status().isPollingNowPlaying());
        QTRY_VERIFY(view->findChild<WelcomeView*>() == nullptr);

        // On disk, where the next run reads it.
        QSettings onDisk(m_rig->settings().defaults().fileName(), QSettings::IniFormat);
        QCOMPARE(onDisk.value(TrayPanelView::onboardingKey).toBool(), true);
        const auto next = makeView();
        QVERIFY(next->findChild<WelcomeView*>() == nullptr);
        QVERIFY(child(*next, QStringLiteral("mainMenu")) != nullptr);
    }

    void closingWithoutGettingStartedWelcomesAgain() {
        {
            const auto view = makeView();
            view->show();
            view->hide();
        }
        const auto view = makeView();
        QVERIFY(view->findChild<WelcomeView*>() != nullptr);
        QVERIFY(!m_rig->settings().defaults().boolValue(TrayPanelView::onboardingKey).has_value());
    }

    void nothingEverActiveReadsNoMedia() {
        completeOnboarding();
        const auto view = makeView();
        QCOMPARE(view->state(), std::optional(TrayState::noMedia));
        QCOMPARE(stateText(*view), QStringLiteral("No media detected"));
    }

    void feedbackWinsOverAStatus() {
        completeOnboarding();
        setSteps(10, 10);
        const auto view = makeView();
        m_rig->status().showStatus(QStringLiteral("Spotify returned an error"));
        QCOMPARE(view->state(), std::optional(TrayState::status));
        m_rig->status().showFeedback(MediaApp::spotify, FeedbackKind::forward);
        // The controller clears a status on success; put one back beside the feedback.
        m_rig->status().showStatus(QStringLiteral("Spotify returned an error"));
        QVERIFY(m_rig->status().statusMessage().has_value());
        QCOMPARE(view->state(), std::optional(TrayState::feedback));
        QCOMPARE(stateText(*view), QStringLiteral("Spotify"));
        QCOMPARE(stateSymbol(*view), QStringLiteral("goforward.10"));
        QCOMPARE(child<ColorDot>(*view, QStringLiteral("playerDot"))->color(), QColor(0x34C759));
        const QList<QLabel*> texts = view->findChildren<QLabel*>(QStringLiteral("stateText"));
        QCOMPARE(
            std::count_if(texts.cbegin(), texts.cend(),
                          [&view](const QLabel* text) { return text->isVisibleTo(view.get()); }),
            1);
    }

    // A change of state shows a row made with the panel, or updates the row on show; no row is
    // made or destroyed after that.
    void theStateRowsAreMadeOnce() {
        completeOnboarding();
        const auto view = makeView();
        const QList<QWidget*> rows = view->findChildren<QWidget*>(QStringLiteral("stateRow"));
        QCOMPARE(rows.size(), 5);
        QSignalSpy destroyed(rows.first(), &QObject::destroyed);
        m_rig->status().showStatus(QStringLiteral("No media apps running"));
        m_rig->status().showFeedback(MediaApp::spotify, FeedbackKind::forward);
        m_rig->status().showFeedback(MediaApp::chromiumYouTube, FeedbackKind::backward);
        QCOMPARE(stateText(*view), QStringLiteral("YouTube (Chrome)"));
        QCOMPARE(view->findChildren<QWidget*>(QStringLiteral("stateRow")), rows);
        QCOMPARE(destroyed.count(), 0);
        // Exactly one row shows, the one of the state.
        int shown = 0;
        for (const QWidget* row : rows) {
            if (row->isVisibleTo(view.get())) {
                ++shown;
                QCOMPARE(row->property("kind").toString(), QStringLiteral("feedback"));
            }
        }
        QCOMPARE(shown, 1);
    }

    void feedbackSymbolFollowsTheFirstSteps_data() {
        QTest::addColumn<int>("kind");
        QTest::addColumn<QString>("symbol");
        QTest::newRow("forward 7.9") << int(FeedbackKind::forward) << "goforward";
        QTest::newRow("backward 30") << int(FeedbackKind::backward) << "gobackward.30";
        QTest::newRow("play/pause") << int(FeedbackKind::playPause) << "playpause";
    }

    void feedbackSymbolFollowsTheFirstSteps() {
        QFETCH(int, kind);
        QFETCH(QString, symbol);
        completeOnboarding();
        setSteps(7.9, 30);
        const auto view = makeView();
        m_rig->status().showFeedback(MediaApp::chromiumYouTube, static_cast<FeedbackKind>(kind));
        QCOMPARE(stateSymbol(*view), symbol);
        QCOMPARE(stateText(*view), QStringLiteral("YouTube (Chrome)"));
        QCOMPARE(child<ColorDot>(*view, QStringLiteral("playerDot"))->color(), QColor(0xFF3B30));
    }

    // A hotkey held down: the row names the player and the total, with the plain arrow; a
    // single step shows as any press does.
    void aHeldHotkeyShowsItsTotal() {
        completeOnboarding();
        setSteps(10, 30);
        const auto view = makeView();
        const QUuid hold = QUuid::createUuid();
        m_rig->status().showFeedback(MediaApp::spotify, FeedbackKind::backward, QString(),
                                     HoldProgress{hold, -30, 1});
        QCOMPARE(stateSymbol(*view), QStringLiteral("gobackward.30"));
        QCOMPARE(stateText(*view), QStringLiteral("Spotify"));
        m_rig->status().showFeedback(MediaApp::spotify, FeedbackKind::backward, QString(),
                                     HoldProgress{hold, -210, 7});
        QCOMPARE(stateSymbol(*view), QStringLiteral("gobackward"));
        QCOMPARE(stateText(*view), QStringLiteral("Spotify · -210s"));
    }

    void aStatusShowsWithItsWarning() {
        completeOnboarding();
        const auto view = makeView();
        m_rig->status().showStatus(QStringLiteral("No media apps running"));
        QCOMPARE(view->state(), std::optional(TrayState::status));
        QCOMPARE(stateText(*view), QStringLiteral("No media apps running"));
        QCOMPARE(stateSymbol(*view), QStringLiteral("exclamationmark.triangle"));
    }

    void afterFeedbackTheLastPlayerShows() {
        completeOnboarding();
        m_rig->settings().setFeedbackDuration(0.2);
        const auto view = makeView();
        QCOMPARE(m_rig->seek({10}), 1);
        QCOMPARE(view->state(), std::optional(TrayState::feedback));
        QTRY_COMPARE(view->state(), std::optional(TrayState::lastApp));
        QVERIFY(!m_rig->status().nowPlaying().has_value());
        QCOMPARE(stateText(*view), QStringLiteral("Last: Spotify"));
        QCOMPARE(stateSymbol(*view), QStringLiteral("music.note"));
        QCOMPARE(child<ColorDot>(*view, QStringLiteral("playerDot"))->color(), QColor(0x34C759));
        QCOMPARE(child(*view, QStringLiteral("stateSymbol"))->property("color").value<QColor>(),
                 QColor(0x34C759));
    }

    void nowPlayingWithoutArtistShowsOnlyTheTitle() {
        completeOnboarding();
        m_rig->players().setNowPlaying(MediaApp::spotify, QStringLiteral("Only A Title"));
        const auto view = makeView();
        view->show();
        QTRY_COMPARE(view->state(), std::optional(TrayState::nowPlaying));
        QCOMPARE(stateText(*view), QStringLiteral("Only A Title"));
        QVERIFY(child(*view, QStringLiteral("stateDetail")) == nullptr);
        QCOMPARE(stateSymbol(*view), QStringLiteral("music.note"));
    }

    void nowPlayingWithArtistShowsBoth() {
        completeOnboarding();
        m_rig->players().setNowPlaying(MediaApp::spotify, QStringLiteral("Song"),
                                       {QStringLiteral("Band")});
        const auto view = makeView();
        view->show();
        QTRY_COMPARE(view->state(), std::optional(TrayState::nowPlaying));
        QCOMPARE(stateText(*view), QStringLiteral("Song"));
        QCOMPARE(child<QLabel>(*view, QStringLiteral("stateDetail"))->text(),
                 QStringLiteral("Band"));
    }

    // The title is shown whole, " - " and all, and every artist under it.
    void aTitleWithTheSeparatorAndSeveralArtists() {
        completeOnboarding();
        m_rig->players().setNowPlaying(MediaApp::spotify, QStringLiteral("Song - Live"),
                                       {QStringLiteral("Band"), QStringLiteral("Guest")});
        const auto view = makeView();
        view->show();
        QTRY_COMPARE(view->state(), std::optional(TrayState::nowPlaying));
        QCOMPARE(stateText(*view), QStringLiteral("Song - Live"));
        QCOMPARE(child<QLabel>(*view, QStringLiteral("stateDetail"))->text(),
                 QStringLiteral("Band, Guest"));
    }

    // A player of "Other players" is named as it names itself wherever the panel names the
    // player: after a seek, as the last player, and under what it plays.
    void anOtherPlayerIsNamedByItsOwnName() {
        useAnOtherPlayer();
        m_rig->settings().setFeedbackDuration(0.2);
        const auto view = makeView();
        QCOMPARE(m_rig->seek({10}), 1);
        QCOMPARE(view->state(), std::optional(TrayState::feedback));
        QCOMPARE(stateText(*view), vlcName);
        QTRY_COMPARE(view->state(), std::optional(TrayState::lastApp));
        QCOMPARE(stateText(*view), QStringLiteral("Last: ") + vlcName);
        QCOMPARE(stateSymbol(*view), QStringLiteral("music.note.list"));

        m_rig->players().setNowPlaying(MediaApp::otherPlayers, QStringLiteral("Intro"),
                                       {QStringLiteral("Band")}, vlcName);
        view->show();
        QTRY_COMPARE(view->state(), std::optional(TrayState::nowPlaying));
        QCOMPARE(stateText(*view), QStringLiteral("Intro"));
        QCOMPARE(child<QLabel>(*view, QStringLiteral("stateDetail"))->text(),
                 QStringLiteral("Band · ") + vlcName);
        QCOMPARE(stateSymbol(*view), QStringLiteral("music.note.list"));
        // Without an artist, the player's name alone is under the title.
        m_rig->players().setNowPlaying(MediaApp::otherPlayers, QStringLiteral("Clip.mkv"), {},
                                       vlcName);
        m_rig->status().pollNowPlaying();
        QTRY_COMPARE(stateText(*view), QStringLiteral("Clip.mkv"));
        QCOMPARE(child<QLabel>(*view, QStringLiteral("stateDetail"))->text(), vlcName);
    }

    void theForwardButtonSeeksTheUnroundedStep() {
        completeOnboarding();
        setSteps(7.5, 10);
        const auto view = makeView();
        view->show();
        auto* forward = child<QToolButton>(*view, QStringLiteral("forwardButton"));
        QCOMPARE(forward->text(), QStringLiteral("7s"));
        QCOMPARE(forward->property("symbolName").toString(), QStringLiteral("goforward"));
        QSignalSpy served(&m_rig->controller(), &MediaController::seekFinished);
        QTest::mouseClick(forward, Qt::LeftButton);
        QTRY_COMPARE(served.count(), 1);
        QCOMPARE(served.first().first().toDouble(), 7.5);
        QCOMPARE(m_rig->players().seekSeconds(), QList<double>{7.5});
    }

    void theBackButtonSeeksBackward() {
        completeOnboarding();
        setSteps(10, 15);
        const auto view = makeView();
        view->show();
        auto* back = child<QToolButton>(*view, QStringLiteral("backButton"));
        QCOMPARE(back->text(), QStringLiteral("15s"));
        QCOMPARE(back->property("symbolName").toString(), QStringLiteral("gobackward.15"));
        QSignalSpy served(&m_rig->controller(), &MediaController::seekFinished);
        QTest::mouseClick(back, Qt::LeftButton);
        QTRY_COMPARE(served.count(), 1);
        QCOMPARE(served.first().first().toDouble(), -15.0);
        QCOMPARE(m_rig->players().seekSeconds(), QList<double>{-15.0});
    }

    void theButtonsFollowEditedActions() {
        completeOnboarding();
        const auto view = makeView();
        setSteps(45, 5);
        QCOMPARE(child<QToolButton>(*view, QStringLiteral("forwardButton"))->text(),
                 QStringLiteral("45s"));
        QCOMPARE(child(*view, QStringLiteral("backButton"))->property("symbolName").toString(),
                 QStringLiteral("gobackward.5"));
    }

    void pollingRunsOnlyWhileShown() {
        completeOnboarding();
        const auto view = makeView();
        QVERIFY(!m_rig->status().isPollingNowPlaying());
        view->show();
        QVERIFY(m_rig->status().isPollingNowPlaying());
        view->hide();
        QVERIFY(!m_rig->status().isPollingNowPlaying());
        view->show();
        QVERIFY(m_rig->status().isPollingNowPlaying());
    }

    void theRowsLightUpUnderThePointer() {
        completeOnboarding();
        const auto view = makeView();
        view->show();
        QVERIFY(QTest::qWaitForWindowExposed(view.get()));
        auto* quit = child<PanelItemButton>(*view, QStringLiteral("quitButton"));
        auto* settings = child<PanelItemLabel>(*view, QStringLiteral("settingsRow"));
        QCOMPARE(quit->text(), QStringLiteral("Quit"));
        QCOMPARE(settings->text(), QStringLiteral("Settings..."));
        QVERIFY(!quit->isHovered());
        QTest::mouseMove(quit);
        QTRY_VERIFY(quit->isHovered());
        QVERIFY(!settings->isHovered());
        const QImage lit = quit->grab().toImage();
        QCOMPARE(QColor(lit.pixel(lit.width() / 2, 1)),
                 QApplication::palette().color(QPalette::Highlight));
        QTest::mouseMove(settings);
        QTRY_VERIFY(settings->isHovered());
        QTRY_VERIFY(!quit->isHovered());
    }

    void settingsAndQuitAreAskedFor() {
        completeOnboarding();
        const auto view = makeView();
        view->show();
        QVERIFY(QTest::qWaitForWindowExposed(view.get()));
        QSignalSpy settings(view.get(), &TrayPanelView::settingsRequested);
        QSignalSpy quit(view.get(), &TrayPanelView::quitRequested);
        QTest::mouseClick(child(*view, QStringLiteral("settingsRow")), Qt::LeftButton);
        QCOMPARE(settings.count(), 1);
        QCOMPARE(quit.count(), 0);
        QTest::mouseClick(child(*view, QStringLiteral("quitButton")), Qt::LeftButton);
        QCOMPARE(quit.count(), 1);
        QCOMPARE(settings.count(), 1);
    }

    void theVersionLineNamesTheVersion() {
        completeOnboarding();
        QCoreApplication::setApplicationVersion(QString());
        QCOMPARE(child<QLabel>(*makeView(), QStringLiteral("versionLabel"))->text(),
                 QStringLiteral("Scrubline 1.0"));
        QCoreApplication::setApplicationVersion(QStringLiteral("2.3.4"));
        QCOMPARE(child<QLabel>(*makeView(), QStringLiteral("versionLabel"))->text(),
                 QStringLiteral("Scrubline 2.3.4"));
    }

    void aLongStatusWrapsWithinTheWidth() {
        completeOnboarding();
        const auto view = makeView();
        view->show();
        m_rig->status().showStatus(
            QStringLiteral("Grant YouTube (Chrome) permission in System Settings > Privacy > "
                           "Automation"));
        view->adjustSize();
        QVERIFY(view->width() >= 200 && view->width() <= 280);
        auto* text = child<QLabel>(*view, QStringLiteral("stateText"));
        QVERIFY(text->wordWrap());
        QVERIFY(text->height() > text->fontMetrics().lineSpacing() * 3 / 2);
    }

    // A note for the user shows above the rest until the panel has been open with it once,
    // and never again after.
    void aNoticeShowsUntilThePanelHasBeenSeen() {
        completeOnboarding();
        const QString key = QStringLiteral("hasSeenTestNote");
        const QString text = QStringLiteral("Global hotkeys are not available here.");
        auto view = makeView();
        QSignalSpy changed(view.get(), &TrayPanelView::contentChanged);
        view->setNoticeOnce(key, text);
        QCOMPARE(changed.size(), 1);
        QCOMPARE(view->notice(), text);
        auto* note = child<QLabel>(*view, QStringLiteral("panelNotice"));
        QVERIFY(note != nullptr);
        QCOMPARE(note->accessibleName(), text);
        // Not seen while the panel stays closed.
        view->hide();
        QCOMPARE(view->notice(), text);
        QCOMPARE(m_rig->settings().defaults().boolValue(key), std::nullopt);
        view->show();
        QVERIFY(QTest::qWaitForWindowExposed(view.get()));
        QVERIFY(note->isVisible());
        view->hide();
        QCOMPARE(view->notice(), QString());
        QCOMPARE(m_rig->settings().defaults().boolValue(key), std::optional<bool>(true));
        // Seen: asked again, in this run or the next, it stays away.
        view->setNoticeOnce(key, text);
        QCOMPARE(view->notice(), QString());
        auto next = makeView();
        next->setNoticeOnce(key, text);
        QCOMPARE(next->notice(), QString());
    }

    // A switch from light to dark while the panel exists: each line of text and the buttons'
    // symbols take the colours a panel made in the dark would have.
    void theStateRowsFollowAPaletteChange() {
        completeOnboarding();
        const auto texts = [](const TrayPanelView& view) {
            QList<QColor> colors;
            for (const QLabel* label : view.findChildren<QLabel*>()) {
                colors << label->palette().color(QPalette::WindowText);
            }
            return colors;
        };
        const auto symbols = [](const TrayPanelView& view) {
            QList<QImage> images;
            for (const QToolButton* button : view.findChildren<QToolButton*>()) {
                images << button->icon().pixmap(QSize(20, 20)).toImage();
            }
            return images;
        };
        const QString key = QStringLiteral("hasSeenPaletteNote");
        const QString note = QStringLiteral("Global hotkeys are not available here.");
        QApplication::setPalette(Screenshots::lightPalette());
        auto view = makeView();
        view->setNoticeOnce(key, note);
        const QList<QColor> light = texts(*view);
        QApplication::setPalette(Screenshots::darkPalette());
        auto dark = makeView();
        dark->setNoticeOnce(key, note);
        QVERIFY(texts(*dark).size() >= 8);
        QVERIFY(texts(*dark) != light);
        // The application tells its windows on the next turn of the event loop.
        QTRY_COMPARE(texts(*view), texts(*dark));
        QCOMPARE(symbols(*view).size(), 2);
        QCOMPARE(symbols(*view), symbols(*dark));
        // And back.
        QApplication::setPalette(Screenshots::lightPalette());
        QTRY_COMPARE(texts(*view), light);
    }

    void screenshots_data() { Screenshots::addPaletteRows(); }

    void screenshots() {
        if (!Screenshots::wanted()) {
            QSKIP("pictures are taken by the screenshots run");
        }
        QFETCH(bool, dark);
        const QString theme = Screenshots::usePalette(dark);
        setSteps(10, 10);
        const auto shoot = [this, &theme](const QString& name, const auto& prepare) {
            auto* view = new TrayPanelView(m_rig->status(), m_rig->settings(),
                                           m_rig->desktop().defaultHotkeysHint(),
                                           MediaApp::BrowserNaming::bySite);
            TrayPanelWindow window(view);
            if constexpr (std::is_invocable_v<decltype(prepare), TrayPanelView&>) {
                prepare(*view);
            } else {
                prepare();
            }
            window.openAt(QRect(900, 4, 24, 24));
            QVERIFY(QTest::qWaitForWindowExposed(&window));
            QTest::qWait(300); // past the feedback line's fade
            // Every line of text has the room it needs.
            for (const QLabel* label : window.findChildren<QLabel*>()) {
                if (label->isVisible() && label->wordWrap()) {
                    QVERIFY2(label->height() >= label->heightForWidth(label->width()),
                             qPrintable(QStringLiteral("%1: %2 < %3 at %4")
                                            .arg(label->text())
                                            .arg(label->height())
                                            .arg(label->heightForWidth(label->width()))
                                            .arg(label->width())));
                }
            }
            const QString path =
                Screenshots::save(window.grab(), QStringLiteral("panel-%1-%2").arg(name, theme));
            QVERIFY(!path.isEmpty());
            qInfo("%s", qPrintable(path));
            window.close();
        };
        shoot(QStringLiteral("welcome"), [] {});
        completeOnboarding();
        shoot(QStringLiteral("nomedia"), [] {});
        shoot(QStringLiteral("feedback"),
              [this] { m_rig->status().showFeedback(MediaApp::spotify, FeedbackKind::forward); });
        shoot(QStringLiteral("feedback-held"), [this] {
            m_rig->status().showFeedback(MediaApp::spotify, FeedbackKind::forward, QString(),
                                         HoldProgress{QUuid::createUuid(), 70, 7});
        });
        shoot(QStringLiteral("status"), [this] {
            m_rig->settings().setFeedbackDuration(0);
            m_rig->status().showFeedback(MediaApp::spotify, FeedbackKind::forward);
            QTRY_VERIFY(!m_rig->status().seekFeedback().has_value());
            m_rig->status().showStatus(QStringLiteral(
                "Grant YouTube (Chrome) permission in System Settings > Privacy > Automation"));
        });
        shoot(QStringLiteral("lastapp"), [this] {
            m_rig->settings().setFeedbackDuration(0);
            QCOMPARE(m_rig->seek({10}), 1);
            QTRY_VERIFY(!m_rig->status().seekFeedback().has_value());
        });
        m_rig->players().setNowPlaying(MediaApp::spotify, QStringLiteral("Bohemian Rhapsody"),
                                       {QStringLiteral("Queen")});
        shoot(QStringLiteral("nowplaying"), [this] { m_rig->status().pollNowPlaying(); });
        shoot(QStringLiteral("notice"), [this](TrayPanelView& view) {
            m_rig->status().pollNowPlaying();
            view.setNoticeOnce(QStringLiteral("screenshotNotice"),
                               m_rig->desktop().texts().accessibilityHint);
        });
        // A player of "Other players", by its own name.
        useAnOtherPlayer();
        setSteps(10, 10);
        shoot(QStringLiteral("feedback-other"), [this] { QCOMPARE(m_rig->seek({10}), 1); });
        useAnOtherPlayer();
        setSteps(10, 10);
        m_rig->players().setNowPlaying(MediaApp::otherPlayers, QStringLiteral("Clair de lune"),
                                       {QStringLiteral("Debussy")}, vlcName);
        shoot(QStringLiteral("nowplaying-other"), [this] { m_rig->status().pollNowPlaying(); });
    }
};

QTEST_MAIN(TestTrayPanelView)
#include "tst_traypanelview.moc"
