# Picks the platform half that every split class is built with. The sources themselves never ask.
if(WIN32)
  set(SPW_PLATFORM w32)
  set(SPW_PLATFORM_SUFFIX W32)
else()
  set(SPW_PLATFORM posix)
  set(SPW_PLATFORM_SUFFIX Posix)
endif()

if(WIN32)
  # The program is one file that needs no other: the compiler's run-time libraries are part of it.
  add_link_options(-static)
endif()

set(CMAKE_CXX_STANDARD 17)
set(CMAKE_CXX_STANDARD_REQUIRED ON)
set(CMAKE_CXX_EXTENSIONS OFF)
set(THREADS_PREFER_PTHREAD_FLAG ON)
find_package(Threads REQUIRED)

# A handheld's run-time library has neither exceptions nor RTTI, so no build of this code has them;
# function-local statics must not need a guard there either.
add_library(linkometry_language INTERFACE)
target_compile_options(linkometry_language INTERFACE -fno-exceptions -fno-rtti -fno-threadsafe-statics)
