# Windows CE 3.0 on ARM, with the tools that tools/windows-ce/make-toolchain makes. docs/windows-ce.md tells of them.
get_filename_component(LINKOMETRY_ROOT "${CMAKE_CURRENT_LIST_DIR}/../.." ABSOLUTE)
set(LINKOMETRY_WINDOWS_CE_PREFIX "${LINKOMETRY_ROOT}/build/windows-ce-toolchain/bin/arm-mingw32ce-")

set(CMAKE_SYSTEM_NAME WindowsCE)
set(CMAKE_SYSTEM_VERSION 3.0)
set(CMAKE_SYSTEM_PROCESSOR arm)
set(CMAKE_CXX_COMPILER "${LINKOMETRY_ROOT}/tools/windows-ce/arm-mingw32ce-g++")
set(CMAKE_RC_COMPILER "${LINKOMETRY_WINDOWS_CE_PREFIX}windres")
set(CMAKE_AR "${LINKOMETRY_WINDOWS_CE_PREFIX}ar")
set(CMAKE_RANLIB "${LINKOMETRY_WINDOWS_CE_PREFIX}ranlib")
set(CMAKE_LINKER "${LINKOMETRY_WINDOWS_CE_PREFIX}ld")
set(CMAKE_NM "${LINKOMETRY_WINDOWS_CE_PREFIX}nm")
set(CMAKE_OBJDUMP "${LINKOMETRY_WINDOWS_CE_PREFIX}objdump")
# There is no start-up object yet when CMake tries the compiler.
set(CMAKE_TRY_COMPILE_TARGET_TYPE STATIC_LIBRARY)
# How this compiler and linker are called stands in Platform/ beside this file.
list(APPEND CMAKE_MODULE_PATH "${CMAKE_CURRENT_LIST_DIR}")
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
