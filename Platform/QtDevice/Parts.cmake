find_package(Qt6 6.4 REQUIRED COMPONENTS Core Network)
set(platform_libraries Qt6::Core Qt6::Network)
set(platform_linked " -lQt6Network -lQt6Core")
set(platform_finding "find_dependency(Qt6 COMPONENTS Core Network)")
# Qt has the time zones of every system.
list(FILTER device EXCLUDE REGEX "/Posix/DateFormatterPosix\\.cpp$")
