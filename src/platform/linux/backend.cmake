# Linux: MPRIS players over D-Bus, X11 key grabs, XDG autostart, the trays that come and go.
find_package(PkgConfig REQUIRED)
pkg_check_modules(XCB REQUIRED IMPORTED_TARGET xcb)
pkg_check_modules(DBUS1 REQUIRED IMPORTED_TARGET dbus-1)
# Only for the names of key symbols, which the portal's shortcut triggers are written in.
pkg_check_modules(XKBCOMMON REQUIRED IMPORTED_TARGET xkbcommon)

# The parts that need no Qt: the way to the running copy and where the executables lie. Shared
# by the backend and by the `scrubline` command.
add_library(scrubline_platform_plain STATIC
    linux/BusInstanceClient.cpp
    linux/ProgramLayout.cpp)
target_link_libraries(scrubline_platform_plain PUBLIC scrubline_commandline PRIVATE PkgConfig::DBUS1)
# The command lies in the binaries' folder and the program in libexec/scrubline/; in a build
# tree each is where the build put it.
file(RELATIVE_PATH scrubline_program_from_command ${CMAKE_INSTALL_FULL_BINDIR}
     ${CMAKE_INSTALL_FULL_LIBEXECDIR}/scrubline/scrubline)
file(RELATIVE_PATH scrubline_command_from_program ${CMAKE_INSTALL_FULL_LIBEXECDIR}/scrubline
     ${CMAKE_INSTALL_FULL_BINDIR}/scrubline)
target_compile_definitions(scrubline_platform_plain PRIVATE
    SCRUBLINE_PROGRAM_FROM_COMMAND="${scrubline_program_from_command}"
    SCRUBLINE_COMMAND_FROM_PROGRAM="${scrubline_command_from_program}"
    SCRUBLINE_BUILT_COMMAND="$<TARGET_FILE:scrubline_cli>"
    SCRUBLINE_BUILT_PROGRAM="$<TARGET_FILE:scrubline>")
# Plain C++: nothing for Qt's code generators to look at.
set_target_properties(scrubline_platform_plain PROPERTIES AUTOMOC OFF AUTOUIC OFF AUTORCC OFF)
scrubline_strict(scrubline_platform_plain)
add_subdirectory(linux/cli)

add_library(scrubline_platform STATIC
    linux/BusSingleInstance.cpp
    linux/DirectBusCalls.cpp
    linux/LinuxDesktopIntegration.cpp
    linux/LinuxPlatform.cpp
    linux/LinuxTrayAvailability.cpp
    linux/MprisClient.cpp
    linux/MprisNameWatch.cpp
    linux/MprisPlayerControl.cpp
    linux/MprisPlayerRegistry.cpp
    linux/MprisPlayerStates.cpp
    linux/MprisRunningApps.cpp
    linux/OwnerProgramLookup.cpp
    linux/PlayerBus.cpp
    linux/PlayerClassifier.cpp
    linux/PlayerPositionEstimate.cpp
    linux/PortalHotkeyService.cpp
    linux/PortalTrigger.cpp
    linux/StatusNotifierHostWatch.cpp
    linux/X11HotkeyService.cpp
    linux/X11KeySymbols.cpp
    linux/XEmbedTrayWatch.cpp
    linux/XdgAutostartLoginItem.cpp)
# Qt6::Gui for the toolkit's own X connection, which the hotkey grabs share; private, so that
# code without a GUI application does not get qApp as one.
target_link_libraries(scrubline_platform PUBLIC Qt6::Core Qt6::DBus
    PRIVATE Qt6::Gui scrubline_platform_plain PkgConfig::XCB PkgConfig::DBUS1 PkgConfig::XKBCOMMON)
