# Linux: MPRIS players over D-Bus, X11 key grabs, XDG autostart, the trays that come and go.
find_package(PkgConfig REQUIRED)
pkg_check_modules(XCB REQUIRED IMPORTED_TARGET xcb)
pkg_check_modules(DBUS1 REQUIRED IMPORTED_TARGET dbus-1)
# Only for the names of key symbols, which the portal's shortcut triggers are written in.
pkg_check_modules(XKBCOMMON REQUIRED IMPORTED_TARGET xkbcommon)
add_library(scrubline_platform STATIC
    linux/BusSingleInstance.cpp
    linux/DirectBusCalls.cpp
    linux/LinuxDesktopIntegration.cpp
    linux/LinuxPlatform.cpp
    linux/LinuxTrayAvailability.cpp
    linux/MprisClient.cpp
    linux/MprisPlayerControl.cpp
    linux/MprisPlayerRegistry.cpp
    linux/MprisRunningApps.cpp
    linux/PlayerPositionEstimate.cpp
    linux/PortalHotkeyService.cpp
    linux/StatusNotifierHostWatch.cpp
    linux/X11HotkeyService.cpp
    linux/X11KeySymbols.cpp
    linux/XEmbedTrayWatch.cpp
    linux/XdgAutostartLoginItem.cpp)
# Qt6::Gui for the toolkit's own X connection, which the hotkey grabs share; private, so that
# code without a GUI application does not get qApp as one.
target_link_libraries(scrubline_platform PUBLIC Qt6::Core Qt6::DBus
    PRIVATE Qt6::Gui PkgConfig::XCB PkgConfig::DBUS1 PkgConfig::XKBCOMMON)
