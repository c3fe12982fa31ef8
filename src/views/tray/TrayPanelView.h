#pragma once

#include "models/MediaApp.h"
#include "views/tray/TrayState.h"

#include <QPointer>
#include <QString>
#include <QWidget>

#include <array>
#include <cstdint>
#include <optional>
#include <set>

class AppSettings;
class ColorDot;
class QHBoxLayout;
class SymbolImages;
class SymbolView;
class MediaStatus;
class QLabel;
class QToolButton;
class QVBoxLayout;
class WelcomeView;

// The content of the tray icon's panel: what the last hotkey did or what is playing, two seek
// buttons, settings and quit. Shows the welcome content instead until onboarding is done.
class TrayPanelView : public QWidget {
    Q_OBJECT
    Q_PROPERTY(bool hasCompletedOnboarding READ hasCompletedOnboarding)

public:
    static constexpr int minimumPanelWidth = 200;
    static constexpr int maximumPanelWidth = 280;
    static inline const QString onboardingKey = QStringLiteral("hasCompletedOnboarding");

    // The application's version, "1.0" when none is set.
    static QString appVersion();

    // `hotkeysHint` names the preset hotkeys' modifiers for the welcome content; `naming` is
    // how the panel names the apps; `symbolImages`, when given, are the platform's drawings
    // of the panel's symbols.
    TrayPanelView(MediaStatus& status, AppSettings& settings, const QString& hotkeysHint,
                  MediaApp::BrowserNaming naming, const SymbolImages* symbolImages = nullptr,
                  QWidget* parent = nullptr);
    ~TrayPanelView() override;

    bool hasCompletedOnboarding() const;
    // Which line the state section shows; absent until the menu is built.
    std::optional<TrayState> state() const { return m_state; }
    // The size the content needs: as wide as it would like within the panel's limits, and as
    // tall as its wrapped lines need at that width.
    QSize fittingSize();

    // A note above everything else, shown until the panel has been seen once with it; `seenKey`
    // is the preference that remembers it was, so that it never shows again. Nothing when it
    // was seen before.
    void setNoticeOnce(const QString& seenKey, const QString& text);
    // The note shown now; empty when there is none.
    QString notice() const;

signals:
    // A seek button was pressed: seek by this signed number of seconds.
    void seekRequested(double seconds);
    void settingsRequested();
    void quitRequested();
    // What is shown changed, and with it maybe the size needed.
    void contentChanged();

protected:
    void showEvent(QShowEvent* event) override;
    void hideEvent(QHideEvent* event) override;
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    void completeOnboarding();
    void buildMenu();
    // One row per state, made once; a change of state shows another row, or updates this one.
    struct StateRow {
        QWidget* row = nullptr;
        QHBoxLayout* layout = nullptr;
        SymbolView* symbol = nullptr;
        ColorDot* dot = nullptr;
        QLabel* text = nullptr;
        QLabel* detail = nullptr;
    };

    void buildStateRows();
    void updateState();
    void rebuildSeekButtons();
    void setPolling(bool on);

    MediaStatus& m_status;
    AppSettings& m_settings;
    QVBoxLayout* m_layout = nullptr;
    QPointer<WelcomeView> m_welcome;
    QWidget* m_menu = nullptr;
    QLabel* m_notice = nullptr;
    QString m_noticeKey;
    QWidget* m_stateSection = nullptr;
    std::array<StateRow, 5> m_stateRows{};
    std::optional<TrayState> m_state;
    QToolButton* m_backButton = nullptr;
    QToolButton* m_forwardButton = nullptr;
    bool m_polling = false;
    MediaApp::BrowserNaming m_naming;
};
