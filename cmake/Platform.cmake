# Picks the platform half that every split class is built with. The sources themselves never ask.
if(WIN32)
  set(SPW_PLATFORM w32)
  set(SPW_PLATFORM_SUFFIX W32)
else()
  set(SPW_PLATFORM posix)
  set(SPW_PLATFORM_SUFFIX Posix)
endif()

if(WIN32 AND NOT WINCE)
  # The program is one file that needs no other: the compiler's run-time libraries are part of it.
  add_link_options(-static)
endif()

set(CMAKE_CXX_STANDARD 17)
set(CMAKE_CXX_STANDARD_REQUIRED ON)
set(CMAKE_CXX_EXTENSIONS OFF)
set(THREADS_PREFER_PTHREAD_FLAG ON)
if(WINCE)
  # Threads are the system library's; there is nothing to find.
  add_library(Threads::Threads INTERFACE IMPORTED GLOBAL)
else()
  find_package(Threads REQUIRED)
endif()

# A handheld's run-time library has neither exceptions nor RTTI, so no build of this code has them;
# function-local statics must not need a guard there either.
add_library(linkometry_language INTERFACE)
target_compile_options(linkometry_language INTERFACE -fno-exceptions -fno-rtti -fno-threadsafe-statics)

# The platform's own libraries: sockets, the versions of files, and the windows' controls.
if(WINCE)
  include(WindowsCe)
  set(SPW_PLATFORM_LIBRARIES windows_ce_coredll windows_ce_winsock)
  set(LINKOMETRY_CONTROLS_LIBRARY windows_ce_commctrl)
elseif(WIN32)
  set(SPW_PLATFORM_LIBRARIES wsock32 version)
  set(LINKOMETRY_CONTROLS_LIBRARY comctl32)
endif()
