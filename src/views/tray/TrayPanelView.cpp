#include "views/tray/TrayPanelView.h"

#include "core/MediaStatus.h"
#include "settings/AppSettings.h"
#include "views/tray/PanelItemButton.h"
#include "views/tray/PanelItemLabel.h"
#include "views/tray/TrayState.h"
#include "views/tray/WelcomeView.h"
#include "views/widgets/ColorDot.h"
#include "views/widgets/Divider.h"
#include "views/widgets/PaletteFollower.h"
#include "views/widgets/SkipSymbols.h"
#include "views/widgets/Style.h"
#include "views/widgets/SymbolView.h"
#include "views/widgets/Symbols.h"
#include "views/widgets/TintedLabel.h"

#include <QCoreApplication>
#include <QEvent>
#include <QGraphicsOpacityEffect>
#include <QHBoxLayout>
#include <QLabel>
#include <QMouseEvent>
#include <QPropertyAnimation>
#include <QToolButton>
#include <QVBoxLayout>

namespace {

constexpr int stateFadeMs = 200;

QLabel* makeText(const QString& text, const QFont& font, Style::Role role, int maxLines,
                 const QString& name, QWidget* parent) {
    auto* label = new TintedLabel(text, role, parent);
    label->setObjectName(name);
    label->setFont(font);
    label->setTextFormat(Qt::PlainText);
    if (maxLines > 1) {
        // Long texts grow the row downwards, up to the given number of lines.
        label->setWordWrap(true);
        const QFontMetrics metrics(font);
        label->setMaximumHeight(metrics.lineSpacing() * maxLines + metrics.descent());
    }
    QSizePolicy policy(QSizePolicy::Expanding, QSizePolicy::Preferred);
    policy.setHeightForWidth(label->wordWrap());
    label->setSizePolicy(policy);
    return label;
}

// Large enough for the number inside a skip symbol to be read.
constexpr int stateSymbolSize = 18;
constexpr int buttonSymbolSize = 20;

} // namespace

QString TrayPanelView::appVersion() {
    const QString version = QCoreApplication::applicationVersion();
    return version.isEmpty() ? QStringLiteral("1.0") : version;
}

TrayPanelView::TrayPanelView(MediaStatus& status, AppSettings& settings, const QString& hotkeysHint,
                             MediaApp::BrowserNaming naming, const SymbolImages* symbolImages,
                             QWidget* parent)
    : QWidget(parent)
    , m_status(status)
    , m_settings(settings)
    , m_naming(naming) {
    Symbols::provide(*this, symbolImages);
    setObjectName(QStringLiteral("trayPanelView"));
    setMinimumWidth(minimumPanelWidth);
    setMaximumWidth(maximumPanelWidth);
    m_layout = new QVBoxLayout(this);
    m_layout->setContentsMargins(0, 0, 0, 0);
    m_layout->setSpacing(0);

    if (hasCompletedOnboarding()) {
        buildMenu();
    } else {
        m_welcome = new WelcomeView(
            hotkeysHint, [this] { completeOnboarding(); }, this);
        m_layout->addWidget(m_welcome);
    }
}

TrayPanelView::~TrayPanelView() {
    setPolling(false);
}

bool TrayPanelView::hasCompletedOnboarding() const {
    return m_settings.defaults().boolValue(onboardingKey).value_or(false);
}

QSize TrayPanelView::fittingSize() {
    // Rows were just replaced: drop every layout's remembered sizes before asking.
    for (QLayout* each : findChildren<QLayout*>()) {
        each->invalidate();
    }
    layout()->invalidate();
    const int width = qBound(minimumPanelWidth, sizeHint().width(), maximumPanelWidth);
    return {width, hasHeightForWidth() ? heightForWidth(width) : sizeHint().height()};
}

void TrayPanelView::completeOnboarding() {
    m_settings.defaults().setBool(onboardingKey, true);
    if (m_welcome != nullptr) {
        m_welcome->hide();
        m_welcome->deleteLater();
    }
    buildMenu();
    m_menu->show();
    setPolling(isVisible());
    emit contentChanged();
}

void TrayPanelView::buildMenu() {
    if (m_menu != nullptr) {
        return;
    }
    m_menu = new QWidget(this);
    m_menu->setObjectName(QStringLiteral("mainMenu"));
    auto* layout = new QVBoxLayout(m_menu);
    layout->setContentsMargins(0, 4, 0, 4);
    layout->setSpacing(0);

    m_stateSection = new QWidget(m_menu);
    m_stateSection->setObjectName(QStringLiteral("stateSection"));
    auto* stateLayout = new QVBoxLayout(m_stateSection);
    stateLayout->setContentsMargins(14, 8, 14, 8);
    layout->addWidget(m_stateSection);
    layout->addWidget(new Divider(m_menu));

    auto* buttons = new QWidget(m_menu);
    auto* buttonsLayout = new QHBoxLayout(buttons);
    buttonsLayout->setContentsMargins(14, 8, 14, 8);
    buttonsLayout->setSpacing(12);
    buttonsLayout->addStretch();
    for (QToolButton** button : {&m_backButton, &m_forwardButton}) {
        *button = new QToolButton(buttons);
        (*button)->setAutoRaise(true);
        (*button)->setToolButtonStyle(Qt::ToolButtonTextBesideIcon);
        (*button)->setFocusPolicy(Qt::NoFocus);
        (*button)->setIconSize(QSize(buttonSymbolSize, buttonSymbolSize));
        buttonsLayout->addWidget(*button);
    }
    buttonsLayout->addStretch();
    m_backButton->setObjectName(QStringLiteral("backButton"));
    m_forwardButton->setObjectName(QStringLiteral("forwardButton"));
    // The values are read at the press, so an edit of the actions counts at once.
    connect(m_backButton, &QToolButton::clicked, this,
            [this] { emit seekRequested(-m_settings.firstBackwardSeconds()); });
    connect(m_forwardButton, &QToolButton::clicked, this,
            [this] { emit seekRequested(m_settings.firstForwardSeconds()); });
    layout->addWidget(buttons);
    layout->addWidget(new Divider(m_menu));

    auto* commands = new QWidget(m_menu);
    auto* commandsLayout = new QVBoxLayout(commands);
    commandsLayout->setContentsMargins(6, 4, 6, 4);
    commandsLayout->setSpacing(2);
    auto* settingsRow = new PanelItemLabel(QStringLiteral("Settings..."), commands);
    settingsRow->setObjectName(QStringLiteral("settingsRow"));
    settingsRow->installEventFilter(this);
    commandsLayout->addWidget(settingsRow);
    auto* quit = new PanelItemButton(
        QStringLiteral("Quit"), [this] { emit quitRequested(); }, commands);
    quit->setObjectName(QStringLiteral("quitButton"));
    commandsLayout->addWidget(quit);
    layout->addWidget(commands);
    layout->addWidget(new Divider(m_menu));

    auto* version = makeText(QStringLiteral("Scrubline ") + appVersion(), Style::caption2Font(),
                             Style::Role::tertiary, 1, QStringLiteral("versionLabel"), m_menu);
    version->setContentsMargins(14, 6, 14, 6);
    layout->addWidget(version);

    m_layout->addWidget(m_menu);

    buildStateRows();
    connect(&m_status, &MediaStatus::seekFeedbackChanged, this, &TrayPanelView::updateState);
    connect(&m_status, &MediaStatus::statusMessageChanged, this, &TrayPanelView::updateState);
    connect(&m_status, &MediaStatus::nowPlayingChanged, this, &TrayPanelView::updateState);
    connect(&m_status, &MediaStatus::lastActiveAppChanged, this, &TrayPanelView::updateState);
    connect(&m_settings, &AppSettings::seekActionsChanged, this, [this] {
        updateState();
        rebuildSeekButtons();
    });
    updateState();
    rebuildSeekButtons();
    // The buttons' symbols are drawn in the text colour of the moment.
    new PaletteFollower(*m_menu, [this] { rebuildSeekButtons(); });
}

void TrayPanelView::buildStateRows() {
    const auto addRow = [this](TrayState state) -> StateRow& {
        StateRow& row = m_stateRows[static_cast<std::size_t>(state)];
        row.row = new QWidget(m_stateSection);
        row.row->setObjectName(QStringLiteral("stateRow"));
        row.row->setProperty("kind", trayStateName(state));
        row.layout = new QHBoxLayout(row.row);
        row.layout->setContentsMargins(0, 0, 0, 0);
        row.layout->setSpacing(6);
        row.row->hide();
        m_stateSection->layout()->addWidget(row.row);
        return row;
    };
    const auto addSymbol = [](StateRow& row, const QString& name, Qt::Alignment alignment) {
        row.symbol = new SymbolView(name, stateSymbolSize, row.row);
        row.symbol->setObjectName(QStringLiteral("stateSymbol"));
        row.layout->addWidget(row.symbol, 0, alignment);
    };
    const auto addDot = [](StateRow& row) {
        row.dot = new ColorDot(QColor(), row.row);
        row.dot->setObjectName(QStringLiteral("playerDot"));
        row.layout->addWidget(row.dot);
    };

    StateRow& feedback = addRow(TrayState::feedback);
    addSymbol(feedback, QStringLiteral("playpause"), {});
    feedback.symbol->setTone(SymbolView::Tone::accent);
    addDot(feedback);
    feedback.text = makeText({}, Style::captionFont(), Style::Role::primary, 2,
                             QStringLiteral("stateText"), feedback.row);
    feedback.layout->addWidget(feedback.text);

    StateRow& status = addRow(TrayState::status);
    addSymbol(status, QStringLiteral("exclamationmark.triangle"), Qt::AlignTop);
    status.symbol->setTone(SymbolView::Tone::warning);
    status.text = makeText({}, Style::captionFont(), Style::Role::secondary, 3,
                           QStringLiteral("stateText"), status.row);
    status.layout->addWidget(status.text);

    StateRow& playing = addRow(TrayState::nowPlaying);
    addSymbol(playing, QStringLiteral("music.note"), Qt::AlignTop);
    playing.symbol->setTone(SymbolView::Tone::secondary);
    auto* lines = new QVBoxLayout;
    lines->setSpacing(1);
    playing.text = makeText({}, Style::captionFont(), Style::Role::primary, 1,
                            QStringLiteral("stateText"), playing.row);
    playing.detail = makeText({}, Style::caption2Font(), Style::Role::secondary, 1,
                              QStringLiteral("stateDetail"), playing.row);
    lines->addWidget(playing.text);
    lines->addWidget(playing.detail);
    playing.layout->addLayout(lines, 1);

    StateRow& none = addRow(TrayState::noMedia);
    none.text = makeText(QStringLiteral("No media detected"), Style::captionFont(),
                         Style::Role::secondary, 1, QStringLiteral("stateText"), none.row);
    none.layout->addWidget(none.text);

    StateRow& last = addRow(TrayState::lastApp);
    addSymbol(last, QStringLiteral("music.note"), {});
    addDot(last);
    last.text = makeText({}, Style::captionFont(), Style::Role::secondary, 1,
                         QStringLiteral("stateText"), last.row);
    last.layout->addWidget(last.text);
}

void TrayPanelView::updateState() {
    const TrayState state = trayState(m_status);
    StateRow& row = m_stateRows[static_cast<std::size_t>(state)];
    switch (state) {
    case TrayState::feedback: {
        const SeekFeedback feedback = *m_status.seekFeedback();
        // A hotkey held down: the plain arrow, and the total it came to after the player.
        const bool total = feedback.showsTotal();
        row.symbol->setSymbolName(SkipSymbols::forKind(
            feedback.kind, total ? 0 : SkipSymbols::wholeSeconds(m_settings.firstForwardSeconds()),
            total ? 0 : SkipSymbols::wholeSeconds(m_settings.firstBackwardSeconds())));
        row.dot->setColor(Style::tint(feedback.app.tintColor()));
        row.text->setText(total ? feedback.shownName(m_naming) + QStringLiteral(" · ") +
                                      feedback.totalText()
                                : feedback.shownName(m_naming));
        break;
    }
    case TrayState::status:
        row.text->setText(*m_status.statusMessage());
        break;
    case TrayState::nowPlaying: {
        const NowPlaying playing = *m_status.nowPlaying();
        row.symbol->setSymbolName(playing.app.symbolName());
        row.text->setText(playing.title);
        // The symbol tells the apps apart, but not the players of an app of many kinds: such a
        // player is named under the title, as the feedback names it.
        QStringList details;
        if (!playing.artists.isEmpty()) {
            details << playing.artists.join(QStringLiteral(", "));
        }
        if (!playing.playerName.isEmpty()) {
            details << playing.playerName;
        }
        row.detail->setText(details.join(QStringLiteral(" · ")));
        row.detail->setVisible(!details.isEmpty());
        break;
    }
    case TrayState::noMedia:
        break;
    case TrayState::lastApp: {
        const MediaApp last = *m_status.lastActiveApp();
        row.symbol->setSymbolName(last.symbolName());
        row.symbol->setColor(Style::tint(last.tintColor()));
        row.dot->setColor(Style::tint(last.tintColor()));
        const QString playerName = m_status.lastActivePlayerName();
        row.text->setText(QStringLiteral("Last: ") +
                          (playerName.isEmpty() ? last.displayName(m_naming) : playerName));
        break;
    }
    }

    const bool changed = !m_state || *m_state != state;
    const bool fade =
        m_state && changed && (state == TrayState::feedback || *m_state == TrayState::feedback);
    if (changed) {
        for (StateRow& each : m_stateRows) {
            if (&each != &row) {
                each.row->hide();
            }
        }
        row.row->show();
        m_state = state;
    }
    if (fade) {
        // The feedback line comes and goes softly.
        auto* effect = new QGraphicsOpacityEffect(row.row);
        effect->setOpacity(0.0);
        row.row->setGraphicsEffect(effect);
        auto* animation = new QPropertyAnimation(effect, "opacity", row.row);
        animation->setDuration(stateFadeMs);
        animation->setStartValue(0.0);
        animation->setEndValue(1.0);
        animation->setEasingCurve(QEasingCurve::InOutQuad);
        QWidget* faded = row.row;
        connect(animation, &QPropertyAnimation::finished, faded,
                [faded] { faded->setGraphicsEffect(nullptr); });
        animation->start(QAbstractAnimation::DeleteWhenStopped);
    }
    emit contentChanged();
}

void TrayPanelView::rebuildSeekButtons() {
    const std::int64_t back = SkipSymbols::wholeSeconds(m_settings.firstBackwardSeconds());
    const std::int64_t forward = SkipSymbols::wholeSeconds(m_settings.firstForwardSeconds());
    const QColor color = Style::primary(palette());
    const SymbolImages* images = Symbols::providedFor(this);
    const auto setUp = [&color, images](QToolButton* button, const QString& symbol,
                                        std::int64_t seconds) {
        button->setText(QString::number(seconds) + QLatin1Char('s'));
        button->setProperty("symbolName", symbol);
        button->setIcon(Symbols::icon(symbol, color, images));
    };
    setUp(m_backButton, SkipSymbols::backward(back), back);
    setUp(m_forwardButton, SkipSymbols::forward(forward), forward);
}

void TrayPanelView::showEvent(QShowEvent* event) {
    QWidget::showEvent(event);
    setPolling(true);
}

void TrayPanelView::hideEvent(QHideEvent* event) {
    QWidget::hideEvent(event);
    setPolling(false);
    // Seen once is enough: the panel has been open with it.
    if (m_notice != nullptr && m_notice->isVisibleTo(this) && !m_noticeKey.isEmpty()) {
        m_settings.defaults().setBool(std::exchange(m_noticeKey, QString()), true);
        m_notice->clear();
        m_notice->hide();
        emit contentChanged();
    }
}

void TrayPanelView::setNoticeOnce(const QString& seenKey, const QString& text) {
    if (m_settings.defaults().boolValue(seenKey).value_or(false)) {
        return;
    }
    if (m_notice == nullptr) {
        m_notice = new TintedLabel(Style::Role::warningText, this);
        m_notice->setObjectName(QStringLiteral("panelNotice"));
        m_notice->setTextFormat(Qt::PlainText);
        m_notice->setWordWrap(true);
        m_notice->setFont(Style::captionFont());
        m_notice->setContentsMargins(14, 10, 14, 6);
        m_layout->insertWidget(0, m_notice);
    }
    m_noticeKey = seenKey;
    m_notice->setText(text);
    m_notice->setAccessibleName(text);
    m_notice->show();
    emit contentChanged();
}

QString TrayPanelView::notice() const {
    return m_notice != nullptr && !m_notice->isHidden() ? m_notice->text() : QString();
}

bool TrayPanelView::eventFilter(QObject* watched, QEvent* event) {
    // The settings row is a link: releasing the button over it opens the settings.
    if (event->type() == QEvent::MouseButtonRelease &&
        watched->objectName() == QStringLiteral("settingsRow")) {
        const auto* mouse = static_cast<QMouseEvent*>(event);
        const auto* row = static_cast<QWidget*>(watched);
        if (mouse->button() == Qt::LeftButton &&
            row->rect().contains(mouse->position().toPoint())) {
            emit settingsRequested();
            return true;
        }
    }
    return QWidget::eventFilter(watched, event);
}

void TrayPanelView::setPolling(bool on) {
    // Only the menu polls; the welcome content has no now-playing line.
    const bool poll = on && m_menu != nullptr;
    if (poll == m_polling) {
        return;
    }
    m_polling = poll;
    if (poll) {
        m_status.startNowPlayingPolling();
    } else {
        m_status.stopNowPlayingPolling();
    }
}
