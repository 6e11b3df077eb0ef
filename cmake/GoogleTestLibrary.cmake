# GoogleTest as GTest::gmock and GTest::gtest_main, where it can be had: installed for this machine's own programs, built
# from the distribution's sources for those of another.
if(NOT CMAKE_CROSSCOMPILING)
  find_package(GTest QUIET)
else()
  set(LINKOMETRY_GOOGLETEST_SOURCE /usr/src/googletest CACHE PATH "Sources of GoogleTest (Debian's package googletest)")
  if(EXISTS "${LINKOMETRY_GOOGLETEST_SOURCE}/CMakeLists.txt")
    set(INSTALL_GTEST OFF CACHE BOOL "" FORCE)
    add_subdirectory("${LINKOMETRY_GOOGLETEST_SOURCE}" "${PROJECT_BINARY_DIR}/googletest" EXCLUDE_FROM_ALL)
  endif()
endif()
