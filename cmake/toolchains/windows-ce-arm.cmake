# For a C++17 compiler that makes programs for Windows CE on ARM, by the names that GNU tools for that target bear.
# docs/windows-ce.md says what such a compiler needs and what has been tried.
set(CMAKE_SYSTEM_NAME WindowsCE)
set(CMAKE_SYSTEM_PROCESSOR arm)
set(CMAKE_CXX_COMPILER arm-mingw32ce-g++)
set(CMAKE_RC_COMPILER arm-mingw32ce-windres)
# The device: Windows CE 3.0, wide characters only.
add_compile_definitions(UNDER_CE=300 _WIN32_WCE=300 UNICODE _UNICODE)
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
