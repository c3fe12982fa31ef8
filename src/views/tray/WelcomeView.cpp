#include "views/tray/WelcomeView.h"

#include "views/widgets/Style.h"
#include "views/widgets/SymbolView.h"
#include "views/widgets/TintedLabel.h"

#include <QFontInfo>
#include <QHBoxLayout>
#include <QLabel>
#include <QPushButton>
#include <QVBoxLayout>

namespace {

QLabel* makeLabel(const QString& text, const QFont& font, const QString& name, QWidget* parent) {
    auto* label = new QLabel(text, parent);
    label->setObjectName(name);
    label->setFont(font);
    return label;
}

// One preset, with its symbol before it.
QWidget* makeHintLine(const QString& symbol, const QString& text, const QString& name,
                      QWidget* parent) {
    auto* line = new QWidget(parent);
    auto* layout = new QHBoxLayout(line);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(6);
    const QFont font = Style::caption2Font();
    auto* icon = new SymbolView(symbol, QFontInfo(font).pixelSize() + 2, line);
    icon->setObjectName(name + QStringLiteral("Symbol"));
    icon->setTone(SymbolView::Tone::secondary);
    layout->addWidget(icon, 0, Qt::AlignTop);
    auto* label = new TintedLabel(text, Style::Role::secondary, line);
    label->setObjectName(name);
    label->setFont(font);
    label->setWordWrap(true);
    layout->addWidget(label, 1);
    return line;
}

QString prominentButtonStyle(const QPalette& palette) {
    const QColor accent = Style::accent(palette);
    return QStringLiteral("QPushButton { background-color: %1; color: white; border: none;"
                          " border-radius: 6px; padding: 4px 16px; }"
                          "QPushButton:hover { background-color: %2; }"
                          "QPushButton:pressed { background-color: %3; }")
        .arg(accent.name(), accent.lighter(110).name(), accent.darker(115).name());
}

} // namespace

WelcomeView::WelcomeView(const QString& hotkeysHint, std::function<void()> onDismiss,
                         QWidget* parent)
    : QWidget(parent)
    , m_onDismiss(std::move(onDismiss)) {
    setObjectName(QStringLiteral("welcomeView"));
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(16, 16, 16, 14);
    layout->setSpacing(8);

    auto* symbol = new SymbolView(QStringLiteral("goforward.10"),
                                  QFontInfo(Style::systemFont(36)).pixelSize(), this);
    symbol->setObjectName(QStringLiteral("welcomeSymbol"));
    symbol->setTone(SymbolView::Tone::accent);
    layout->addWidget(symbol, 0, Qt::AlignHCenter);

    auto* title = makeLabel(QStringLiteral("Welcome to Scrubline"), Style::headlineFont(),
                            QStringLiteral("welcomeTitle"), this);
    layout->addWidget(title, 0, Qt::AlignHCenter);

    auto* summary = makeLabel(
        QStringLiteral("Global hotkeys to seek media in Spotify, Apple Music, YouTube, and more."),
        Style::captionFont(), QStringLiteral("welcomeSummary"), this);
    summary->setWordWrap(true);
    summary->setAlignment(Qt::AlignHCenter);
    layout->addWidget(summary);

    auto* hints = new QWidget(this);
    auto* hintsLayout = new QVBoxLayout(hints);
    hintsLayout->setContentsMargins(4, 2, 4, 2);
    hintsLayout->setSpacing(4);
    hintsLayout->addWidget(
        makeHintLine(QStringLiteral("keyboard"), hotkeysHint, QStringLiteral("hotkeysHint"), this));
    hintsLayout->addWidget(makeHintLine(QStringLiteral("goforward.10"),
                                        QStringLiteral("Right Arrow: Forward 10s"),
                                        QStringLiteral("forwardHint"), this));
    hintsLayout->addWidget(makeHintLine(QStringLiteral("gobackward.10"),
                                        QStringLiteral("Left Arrow: Backward 10s"),
                                        QStringLiteral("backwardHint"), this));
    layout->addWidget(hints);

    auto* button = new QPushButton(QStringLiteral("Get Started"), this);
    button->setObjectName(QStringLiteral("getStartedButton"));
    button->setDefault(true);
    button->setCursor(Qt::PointingHandCursor);
    button->setStyleSheet(prominentButtonStyle(palette()));
    connect(button, &QPushButton::clicked, this, [this] {
        if (m_onDismiss) {
            m_onDismiss();
        }
    });
    layout->addSpacing(2);
    layout->addWidget(button, 0, Qt::AlignHCenter);
}
