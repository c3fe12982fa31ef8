# macOS: players driven by AppleScript, Carbon hot keys, the login item service.
add_library(scrubline_platform STATIC
    macos/AppleScriptEngine.mm
    macos/CarbonHotkeyService.mm
    macos/MacDesktopIntegration.mm
    macos/MacPlatform.mm
    macos/ReopenSingleInstance.cpp
    macos/SMAppServiceLoginItem.mm
    macos/StatusBarAvailability.h
    macos/SystemSymbolImages.mm
    macos/WorkspaceRunningApps.mm)
target_link_libraries(scrubline_platform PUBLIC Qt6::Core
    PRIVATE Qt6::Gui scrubline_scripting
            "-framework Foundation" "-framework AppKit" "-framework ApplicationServices"
            "-framework Carbon" "-framework ServiceManagement")
target_compile_options(scrubline_platform PRIVATE $<$<COMPILE_LANGUAGE:OBJCXX>:-fobjc-arc>)
