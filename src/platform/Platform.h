#pragma once

#include "DesktopIntegration.h"
#include "HotkeyService.h"
#include "LoginItem.h"
#include "PlatformProfile.h"
#include "PlayerControl.h"
#include "RunningApps.h"
#include "ScriptEngine.h"
#include "SingleInstance.h"
#include "SymbolImages.h"
#include "TrayAvailability.h"
#include "models/PermissionItem.h"

#include <QList>
#include <QSettings>
#include <QString>

#include <memory>

// The one factory of platform facilities. Exactly one implementation is compiled in. Only the
// application shell calls it, and hands what it makes to the objects that use it.
namespace Platform {

// The per-user store of the program's preferences.
std::unique_ptr<QSettings> openSettingsStore();

std::unique_ptr<LoginItem> createLoginItem();

// What sets this platform apart: its media apps, their naming, how hotkeys are written and read.
PlatformProfile profile();

// How the media apps are driven. Shared by the seek thread, the now-playing polls and the
// permission probes.
std::shared_ptr<PlayerControl> createPlayerControl();

// The permissions the Permissions tab shows and probes, in its order.
QList<PermissionItem> permissionItems();

// The running applications, followed live. Lives on the GUI thread.
std::unique_ptr<RunningApps> createRunningApps();

// System-wide hotkeys, on the GUI thread. Where the session offers none, it does not start and
// nothing binds.
std::unique_ptr<HotkeyService> createHotkeyService();

// Whether the program may watch the keyboard system-wide, read once.
bool accessibilityTrusted();

// Why no graphical session can be used, or an empty string when one can. Checked before the
// toolkit starts, which would otherwise abort with a long message of its own.
QString displayProblem();

// The platform's drawings of symbol names; it may have none.
std::unique_ptr<SymbolImages> createSymbolImages();

// The desktop's wording and window behaviours, for the views.
std::unique_ptr<DesktopIntegration> createDesktopIntegration();

// The way to the program's running copy in this session, and to becoming it.
std::unique_ptr<SingleInstance> createSingleInstance();

// Whether a tray for the program's icon runs, followed live. Needs the application object.
std::unique_ptr<TrayAvailability> createTrayAvailability();

} // namespace Platform
