# The handheld's code for programs that Linux runs with qemu-arm: the same compiler with the same flags, but ELF objects and
# a system library of the tests' own (tests/windows-ce/emulated).
include("${CMAKE_CURRENT_LIST_DIR}/windows-ce-arm.cmake")
set(LINKOMETRY_WINDOWS_CE_EMULATED ON)
set(CMAKE_CXX_FLAGS_INIT "--elf")
set(CMAKE_AR arm-none-eabi-ar)
set(CMAKE_RANLIB arm-none-eabi-ranlib)
set(CMAKE_LINKER arm-none-eabi-ld)
set(CMAKE_NM arm-none-eabi-nm)
