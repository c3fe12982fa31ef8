#pragma once

#include <QPointer>
#include <QString>
#include <QWidget>

#include <cstdint>
#include <set>

class AppSettings;
class MediaStatus;
class QLabel;
class QToolButton;
class QVBoxLayout;
class WelcomeView;

// The content of the tray icon's panel: what the last hotkey did or what is playing, two seek
// buttons, settings and quit. Shows the welcome content instead until onboarding is done.
class MenuBarView : public QWidget {
    Q_OBJECT
    Q_PROPERTY(bool hasCompletedOnboarding READ hasCompletedOnboarding)
    Q_PROPERTY(QString stateKind READ stateKind)

public:
    static constexpr int minimumPanelWidth = 200;
    static constexpr int maximumPanelWidth = 280;
    static inline const QString onboardingKey = QStringLiteral("hasCompletedOnboarding");

    // The step sizes with a numbered symbol.
    static const std::set<std::int64_t>& sfSymbolSeconds();
    // The application's version, "1.0" when none is set.
    static QString appVersion();

    // `hotkeysHint` names the preset hotkeys' modifiers for the welcome content.
    MenuBarView(MediaStatus& status, AppSettings& settings, const QString& hotkeysHint,
                QWidget* parent = nullptr);
    ~MenuBarView() override;

    bool hasCompletedOnboarding() const;
    // Which line the state section shows: "feedback", "status", "nowPlaying", "noMedia" or
    // "lastApp".
    QString stateKind() const { return m_stateKind; }
    // The size the content needs: as wide as it would like within the panel's limits, and as
    // tall as its wrapped lines need at that width.
    QSize fittingSize();

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
    void rebuildState();
    void rebuildSeekButtons();
    void setPolling(bool on);

    MediaStatus& m_status;
    AppSettings& m_settings;
    QVBoxLayout* m_layout = nullptr;
    QPointer<WelcomeView> m_welcome;
    QWidget* m_menu = nullptr;
    QWidget* m_stateSection = nullptr;
    QWidget* m_stateRow = nullptr;
    QString m_stateKind;
    QToolButton* m_backButton = nullptr;
    QToolButton* m_forwardButton = nullptr;
    bool m_polling = false;
};
