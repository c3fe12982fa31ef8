#include "AppleScriptEngine.h"
#include "CarbonHotkeyService.h"
#include "MacDesktopIntegration.h"
#include "ReopenSingleInstance.h"
#include "SMAppServiceLoginItem.h"
#include "StatusBarAvailability.h"
#include "SystemSymbolImages.h"
#include "WorkspaceRunningApps.h"
#include "scripting/ScriptedPlayerControl.h"

#include "platform/Platform.h"
#include <ApplicationServices/ApplicationServices.h>

namespace Platform {

std::unique_ptr<QSettings> openSettingsStore() {
    // The organisation domain and application name make the defaults domain com.scrubline.app.
    return std::make_unique<QSettings>(QSettings::NativeFormat, QSettings::UserScope,
                                       QStringLiteral("scrubline.com"), QStringLiteral("app"));
}

std::unique_ptr<LoginItem> createLoginItem() {
    return std::make_unique<SMAppServiceLoginItem>();
}

PlatformProfile profile() {
    const auto cases = MediaApp::allCases();
    return {
        .mediaApps = QList<MediaApp>(cases.begin(), cases.end()),
        // The browser scripts find a YouTube tab and drive its video, nothing else.
        .browserNaming = MediaApp::BrowserNaming::bySite,
        .modifierStyle = KeyTable::ModifierStyle::glyphs,
        // Unless AA_MacDontSwapCtrlAndMeta is set, which this program never sets.
        .toolkitSwapsControlAndCommand = true,
    };
}

std::shared_ptr<PlayerControl> createPlayerControl() {
    return std::make_shared<ScriptedPlayerControl>(std::make_shared<AppleScriptEngine>());
}

std::unique_ptr<RunningApps> createRunningApps() {
    return std::make_unique<WorkspaceRunningApps>();
}

std::unique_ptr<HotkeyService> createHotkeyService() {
    return std::make_unique<CarbonHotkeyService>();
}

bool accessibilityTrusted() {
    return AXIsProcessTrusted();
}

QList<PermissionItem> permissionItems() {
    return PermissionItem::all();
}

QString displayProblem() {
    return {}; // a logged-in session always has the window server
}

std::unique_ptr<SymbolImages> createSymbolImages() {
    return std::make_unique<SystemSymbolImages>();
}

std::unique_ptr<DesktopIntegration> createDesktopIntegration() {
    return std::make_unique<MacDesktopIntegration>();
}

std::unique_ptr<SingleInstance> createSingleInstance() {
    return std::make_unique<ReopenSingleInstance>();
}

std::unique_ptr<TrayAvailability> createTrayAvailability() {
    return std::make_unique<StatusBarAvailability>();
}

} // namespace Platform
