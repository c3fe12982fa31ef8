#include "views/settings/AppsSettingsTab.h"

#include "settings/AppSettings.h"
#include "views/widgets/PaletteFollower.h"
#include "views/widgets/Style.h"
#include "views/widgets/SymbolButton.h"
#include "views/widgets/SymbolView.h"
#include "views/widgets/TintedLabel.h"

#include <QCheckBox>
#include <QHBoxLayout>
#include <QLabel>
#include <QPainter>
#include <QPainterPath>
#include <QVBoxLayout>

namespace {

// The arrows are small chevrons in a frame just large enough to hit comfortably.
constexpr QSize arrowFrame(22, 16);
constexpr int arrowSymbolSize = 16;
constexpr int appSymbolSize = 16;
constexpr int appSymbolFrameWidth = 20;
constexpr int positionMinimumWidth = 16;
constexpr int rowSpacing = 8;
// Rows are inset from the section's edges; the footer lines up with their content.
constexpr int rowInset = 10;
constexpr int outerPadding = 20;
constexpr qreal sectionRadius = 8;

// The ground of the grouped section: a shade lighter than the window on either theme.
QColor sectionFill(const QPalette& palette) {
    if (Style::isDark(palette)) {
        QColor fill = palette.color(QPalette::WindowText);
        fill.setAlphaF(0.05);
        return fill;
    }
    QColor fill = palette.color(QPalette::Base);
    fill.setAlphaF(0.7);
    return fill;
}

} // namespace

AppsSettingsTab::AppsSettingsTab(AppSettings& settings, MediaApp::BrowserNaming naming,
                                 QWidget* parent)
    : QWidget(parent)
    , m_settings(settings)
    , m_naming(naming) {
    setObjectName(QStringLiteral("appsSettingsTab"));
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(outerPadding, outerPadding, outerPadding, outerPadding);
    layout->setSpacing(6);

    m_section = new QWidget(this);
    m_section->setObjectName(QStringLiteral("appsSection"));
    m_rowsLayout = new QVBoxLayout(m_section);
    m_rowsLayout->setContentsMargins(0, 0, 0, 0);
    m_rowsLayout->setSpacing(0);
    layout->addWidget(m_section);

    m_footer = new TintedLabel(
        QStringLiteral("Use arrows to reorder priority. The first playing app wins."),
        Style::Role::secondary, this);
    m_footer->setObjectName(QStringLiteral("appsFooter"));
    m_footer->setFont(Style::captionFont());
    m_footer->setTextFormat(Qt::PlainText);
    m_footer->setWordWrap(true);
    m_footer->setContentsMargins(rowInset, 0, rowInset, 0);
    layout->addWidget(m_footer);
    layout->addStretch();

    connect(&m_settings, &AppSettings::enabledAppsChanged, this, &AppsSettingsTab::refresh);
    connect(&m_settings, &AppSettings::disabledAppsChanged, this, &AppsSettingsTab::refresh);
    refresh();
    // The arrows' shades are given as each row is shown.
    new PaletteFollower(*this, [this] { refresh(); });
}

AppsSettingsTab::Row AppsSettingsTab::makeRow(int index) {
    Row row;
    row.row = new QWidget(m_section);
    row.row->setObjectName(QStringLiteral("appRow"));
    auto* layout = new QHBoxLayout(row.row);
    layout->setContentsMargins(rowInset, 4, rowInset, 4);
    layout->setSpacing(rowSpacing);

    auto* arrows = new QVBoxLayout;
    arrows->setSpacing(0);
    const auto makeArrow = [&row](const QString& symbolName, const QString& name) {
        auto* button = new SymbolButton(symbolName, arrowSymbolSize, row.row);
        button->setObjectName(name);
        button->setFixedSize(arrowFrame);
        return button;
    };
    row.up = makeArrow(QStringLiteral("chevron.up"), QStringLiteral("moveUpButton"));
    row.down = makeArrow(QStringLiteral("chevron.down"), QStringLiteral("moveDownButton"));
    arrows->addWidget(row.up);
    arrows->addWidget(row.down);
    layout->addLayout(arrows);
    // The row stands for a position, so its buttons act on whatever app is there at the click.
    connect(row.up, &SymbolButton::clicked, this, [this, index] { move(index, -1); });
    connect(row.down, &SymbolButton::clicked, this, [this, index] { move(index, 1); });

    row.position = new TintedLabel(Style::Role::secondary, row.row);
    row.position->setObjectName(QStringLiteral("positionLabel"));
    row.position->setFont(Style::captionFont());
    row.position->setAlignment(Qt::AlignRight | Qt::AlignVCenter);
    layout->addWidget(row.position);

    // Any app's symbol for now; showRow gives it the app at this position.
    row.symbol = new SymbolView(MediaApp(MediaApp::spotify).symbolName(), appSymbolSize, row.row);
    row.symbol->setObjectName(QStringLiteral("appSymbol"));
    row.symbol->setFixedSize(appSymbolFrameWidth, appSymbolSize);
    layout->addWidget(row.symbol);

    row.name = new QLabel(row.row);
    row.name->setObjectName(QStringLiteral("appName"));
    row.name->setTextFormat(Qt::PlainText);
    layout->addWidget(row.name);
    layout->addStretch();

    row.enabled = new QCheckBox(row.row);
    row.enabled->setObjectName(QStringLiteral("enableSwitch"));
    // Only the user's click edits the store; showing the store's value must not write it back.
    connect(row.enabled, &QCheckBox::clicked, this,
            [this, index](bool on) { setAppEnabled(index, on); });
    layout->addWidget(row.enabled);

    m_rowsLayout->addWidget(row.row);
    // A row added while the tab is open shows with the change, not an event later.
    row.row->show();
    return row;
}

QList<int> AppsSettingsTab::shownPositions() const {
    const QList<MediaApp>& apps = m_settings.enabledApps();
    QList<int> shown;
    for (int position = 0; position < apps.size(); ++position) {
        if (m_settings.isOffered(apps.at(position))) {
            shown.append(position);
        }
    }
    return shown;
}

void AppsSettingsTab::refresh() {
    const QList<MediaApp>& all = m_settings.enabledApps();
    QList<MediaApp> apps;
    for (const int position : shownPositions()) {
        apps.append(all.at(position));
    }
    const auto count = static_cast<int>(apps.size());
    while (static_cast<int>(m_rows.size()) > count) {
        // Taken out at once so that nothing finds it any more; deleted once its events are done.
        QWidget* surplus = m_rows.back().row;
        m_rows.pop_back();
        m_rowsLayout->removeWidget(surplus);
        surplus->hide();
        surplus->setParent(nullptr);
        surplus->deleteLater();
    }
    while (static_cast<int>(m_rows.size()) < count) {
        m_rows.push_back(makeRow(static_cast<int>(m_rows.size())));
    }
    // Every position has the room of the widest number, so the names stay in line.
    const int positionWidth = qMax(
        positionMinimumWidth, QFontMetrics(Style::captionFont())
                                  .horizontalAdvance(QString::number(count) + QLatin1Char('.')));
    for (int index = 0; index < count; ++index) {
        m_rows[static_cast<std::size_t>(index)].position->setFixedWidth(positionWidth);
        showRow(m_rows[static_cast<std::size_t>(index)], index, apps.at(index), count);
    }
    m_section->setVisible(count > 0);
    update();
}

void AppsSettingsTab::showRow(Row& row, int index, MediaApp app, int count) {
    const QString name = app.displayName(m_naming);
    row.row->setAccessibleName(name + QStringLiteral(", priority ") + QString::number(index + 1));
    paintArrow(*row.up, index < 1);
    paintArrow(*row.down, index >= count - 1);
    row.up->setAccessibleName(QStringLiteral("Move %1 up").arg(name));
    row.down->setAccessibleName(QStringLiteral("Move %1 down").arg(name));
    row.position->setText(QString::number(index + 1) + QLatin1Char('.'));
    row.symbol->setSymbolName(app.symbolName());
    row.symbol->setColor(Style::tint(app.tintColor()));
    row.name->setText(name);
    row.enabled->setAccessibleName(QStringLiteral("Enable ") + name);
    row.enabled->setChecked(!m_settings.disabledApps().contains(app));
}

void AppsSettingsTab::paintArrow(SymbolButton& button, bool atEnd) {
    // An arrow that cannot move anything is faint and off; the others are plainly there.
    button.setColor(atEnd ? Style::tertiary(palette()) : Style::secondary(palette()));
    button.setEnabled(!atEnd);
}

void AppsSettingsTab::move(int index, int step) {
    QList<MediaApp> apps = m_settings.enabledApps();
    const QList<int> shown = shownPositions();
    const int target = index + step;
    if (index < 0 || target < 0 || target >= shown.size() || index >= shown.size()) {
        return;
    }
    SymbolButton* pressed = step < 0 ? m_rows[static_cast<std::size_t>(index)].up
                                     : m_rows[static_cast<std::size_t>(index)].down;
    const bool keyboard = pressed->hasFocus();
    apps.swapItemsAt(shown.at(index), shown.at(target));
    m_settings.setEnabledApps(std::move(apps));
    if (keyboard) {
        // From the keyboard, focus goes with the app that moved, so that it can be moved on.
        const Row& moved = m_rows[static_cast<std::size_t>(target)];
        SymbolButton* same = step < 0 ? moved.up : moved.down;
        (same->isEnabled() ? same : (step < 0 ? moved.down : moved.up))->setFocus();
    }
}

void AppsSettingsTab::setAppEnabled(int index, bool on) {
    const QList<int> shown = shownPositions();
    if (index < 0 || index >= shown.size()) {
        return;
    }
    const MediaApp app = m_settings.enabledApps().at(shown.at(index));
    MediaAppSet disabled = m_settings.disabledApps();
    if (on) {
        disabled.erase(app);
    } else {
        disabled.insert(app);
    }
    m_settings.setDisabledApps(std::move(disabled));
}

void AppsSettingsTab::paintEvent(QPaintEvent* /*event*/) {
    if (m_rows.empty()) {
        return;
    }
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    const QRectF section = QRectF(m_section->geometry()).adjusted(0.5, 0.5, -0.5, -0.5);
    QPainterPath outline;
    outline.addRoundedRect(section, sectionRadius, sectionRadius);
    painter.fillPath(outline, sectionFill(palette()));
    painter.setPen(QPen(Style::separator(palette()), 1));
    painter.drawPath(outline);
    // A hairline between rows, inset like the rows' content.
    painter.setRenderHint(QPainter::Antialiasing, false);
    for (std::size_t index = 1; index < m_rows.size(); ++index) {
        const int y = m_section->y() + m_rows[index].row->y();
        painter.drawLine(m_section->x() + rowInset, y, m_section->geometry().right() - rowInset, y);
    }
}
