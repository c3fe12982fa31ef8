#include "ScrublineApp.h"

#include "HotkeyBinder.h"
#include "HotkeyHold.h"
#include "MediaStack.h"
#include "SeekWarmup.h"
#include "SettingsWindowController.h"
#include "core/MediaController.h"
#include "core/MediaStatus.h"
#include "core/PermissionChecker.h"
#include "core/WebAddresses.h"
#include "models/KeyTable.h"
#include "platform/Platform.h"
#include "settings/AppSettings.h"
#include "settings/SettingsStore.h"
#include "utilities/Logger.h"
#include "views/overlay/OverlayManager.h"
#include "views/settings/AboutSettingsTab.h"
#include "views/settings/AppsSettingsTab.h"
#include "views/settings/GeneralSettingsTab.h"
#include "views/settings/HotkeysSettingsTab.h"
#include "views/settings/PermissionsSettingsTab.h"
#include "views/settings/SettingsView.h"
#include "views/tray/TrayIcon.h"
#include "views/tray/TrayPanelWindow.h"
#include "views/widgets/AlertBox.h"
#include "views/widgets/Symbols.h"

#include <QApplication>

namespace {

void sayThereIsNoTray() {
    // The icon is made once one appears.
    qCWarning(Log::general(), "No system tray is running; the icon appears when one starts");
}

} // namespace

ScrublineApp::ScrublineApp(QObject* parent)
    : QObject(parent) {
    m_desktop = Platform::createDesktopIntegration();
    // An accessory of the tray until the settings window opens.
    m_desktop->setRegularActivation(false);

    // 1. The platform's profile, the settings and the media side, made as a command line run
    // makes them, now, so that they follow the players from the start.
    MediaStack media = MediaStack::build(Platform::createLoginItem(), m_desktop->texts());
    m_profile = media.profile;
    m_symbolImages = Platform::createSymbolImages();
    m_settings = std::move(media.settings);
    m_players = std::move(media.players);
    m_mediaStatus = std::move(media.status);
    m_mediaController = std::move(media.controller);

    // 2. What the controller cannot settle alone is put to the user.
    connect(m_mediaController.get(), &MediaController::alertRequested, this, &AlertBox::show);

    // 3. The views, each told the platform's naming and drawings by its constructor.
    m_settingsWindow = std::make_unique<SettingsWindowController>(
        [this] { return makeSettingsView(); }, *m_desktop);
    m_overlay =
        std::make_unique<OverlayManager>(*m_mediaStatus, *m_settings, m_profile.browserNaming,
                                         m_desktop.get(), m_symbolImages.get());
    // Asked of the desktop, never of the toolkit, whose first answer would stick (see
    // TrayIcon).
    m_tray = Platform::createTrayAvailability();
    if (m_tray->state() == TrayAvailability::State::absent) {
        sayThereIsNoTray();
    } else if (m_tray->state() == TrayAvailability::State::unknown) {
        // Only the first answer tells about the start.
        connect(
            m_tray.get(), &TrayAvailability::stateChanged, this,
            [](TrayAvailability::State state) {
                if (state == TrayAvailability::State::absent) {
                    sayThereIsNoTray();
                }
            },
            Qt::SingleShotConnection);
    }
    m_trayIcon = std::make_unique<TrayIcon>(*m_mediaStatus, *m_settings, *m_tray, *m_desktop,
                                            m_profile.browserNaming, m_symbolImages.get());
    connect(m_trayIcon.get(), &TrayIcon::seekRequested, m_mediaController.get(),
            &MediaController::enqueueSeek);
    connect(m_trayIcon.get(), &TrayIcon::settingsRequested, m_settingsWindow.get(),
            &SettingsWindowController::showSettingsWindow);

    // 4. The hotkeys, whose presses go through the hold to the controller.
    m_hotkeys = Platform::createHotkeyService();
    m_hotkeyHold = std::make_unique<HotkeyHold>(*m_mediaController);
    m_hotkeyBinder = std::make_unique<HotkeyBinder>(*m_hotkeys, *m_settings, *m_hotkeyHold,
                                                    m_profile.modifierStyle);
    // Once per user: a desktop without global hotkeys is told of in the panel, with what to do.
    connect(m_hotkeyBinder.get(), &HotkeyBinder::hotkeysUnavailable, m_trayIcon.get(), [this] {
        m_trayIcon->showNoticeOnce(QStringLiteral("hasSeenHotkeysUnavailableNote"),
                                   m_desktop->texts().accessibilityHint);
    });
    startUp();
    connect(qApp, &QCoreApplication::aboutToQuit, m_hotkeyBinder.get(), &HotkeyBinder::stop);
    // Unlike the other debounced work, an edit still waiting to be saved is written at the end,
    // so that none is lost when the session ends right after it.
    connect(qApp, &QCoreApplication::aboutToQuit, m_settings.get(),
            &AppSettings::savePendingChanges);
    connect(qApp, &QGuiApplication::commitDataRequest, m_settings.get(),
            &AppSettings::savePendingChanges);
}

QString ScrublineApp::displayProblem() {
    return Platform::displayProblem();
}

std::unique_ptr<SingleInstance> ScrublineApp::openSingleInstance() {
    return Platform::createSingleInstance();
}

void ScrublineApp::startUp() {
    m_hotkeyBinder->start();
    m_overlay->start();
    // Once, for the actions as they are at start; an amount added later is prepared by its
    // first seek.
    [[maybe_unused]] const bool warming = SeekWarmup::start(m_players, m_settings->seekActions());
}

void ScrublineApp::reopen() {
    m_settings->defaults().setBool(AppSettings::Keys::showMenuBarIcon, true);
    if (!m_tray->isAvailable()) {
        showSettings();
        return;
    }
    if (!m_trayIcon->window().isVisible()) {
        m_trayIcon->togglePanel();
    }
}

void ScrublineApp::showSettings() {
    m_settingsWindow->showSettingsWindow();
}

void ScrublineApp::seek(double seconds, MediaController::WhenServed whenServed) {
    m_mediaController->enqueueAnsweredSeek(seconds, std::move(whenServed));
}

ScrublineApp::~ScrublineApp() = default;

SettingsView* ScrublineApp::makeSettingsView() {
    auto* view = new SettingsView(m_settings->defaults());
    Symbols::provide(*view, m_symbolImages.get());
    view->setPage(QStringLiteral("general"),
                  new GeneralSettingsTab(*m_settings, m_desktop->texts()));
    view->setPage(QStringLiteral("hotkeys"), makeHotkeysTab());
    view->setPage(QStringLiteral("apps"),
                  new AppsSettingsTab(*m_settings, m_profile.browserNaming));
    // Where the platform names the means by which hotkeys work (key grabs, the desktop's
    // portal), having one is what the hotkey row asks about.
    auto checker =
        std::make_unique<PermissionChecker>(m_players, Platform::createRunningApps(), [this] {
            return Platform::accessibilityTrusted() || !m_hotkeyBinder->mechanism().isEmpty();
        });
    checker->setItems(Platform::permissionItems());
    auto* permissions = new PermissionsSettingsTab(std::move(checker), *m_desktop);
    if (const QString mechanism = m_hotkeyBinder->mechanism(); !mechanism.isEmpty()) {
        permissions->setAccessibilityGrantedText(mechanism);
    }
    // The desktop may bind the hotkeys while the window is open; the row says how many.
    connect(m_hotkeyBinder.get(), &HotkeyBinder::mechanismChanged, permissions,
            [permissions](const QString& mechanism) {
                if (!mechanism.isEmpty()) {
                    permissions->setAccessibilityGrantedText(mechanism);
                }
            });
    view->setPage(QStringLiteral("permissions"), permissions);
    view->setPage(QStringLiteral("about"),
                  new AboutSettingsTab(
                      {QCoreApplication::applicationVersion(),
                       QStringLiteral(SCRUBLINE_BUILD_NUMBER), m_desktop->systemDescription(),
                       WebAddresses::configured(QStringLiteral(SCRUBLINE_WEB_BASE)),
                       QStringLiteral("The Scrubline developers")}));
    return view;
}

HotkeysSettingsTab* ScrublineApp::makeHotkeysTab() {
    auto* tab = new HotkeysSettingsTab(*m_settings, m_profile.modifierStyle);
    if (m_profile.toolkitSwapsControlAndCommand) {
        tab->setModifierMapping(HotkeyRecorder::ModifierMapping::swapped());
    }
    tab->setUnavailableActionIDs(m_hotkeyBinder->unavailableActionIDs());
    connect(m_hotkeyBinder.get(), &HotkeyBinder::unavailableActionIDsChanged, tab,
            &HotkeysSettingsTab::setUnavailableActionIDs);
    tab->setAssignedTriggers(m_hotkeyBinder->assignedTriggers());
    connect(m_hotkeyBinder.get(), &HotkeyBinder::assignedTriggersChanged, tab,
            &HotkeysSettingsTab::setAssignedTriggers);
    // The Test button goes through the same queue as a press of the action's hotkey.
    connect(tab, &HotkeysSettingsTab::seekRequested, m_mediaController.get(),
            &MediaController::enqueueSeek);
    connect(tab, &HotkeysSettingsTab::recordingChanged, m_hotkeyBinder.get(),
            &HotkeyBinder::setSuspended);
    return tab;
}
