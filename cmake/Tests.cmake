include(GoogleTest)

# A line for each test program: its target and its sources. Written anew at each configuration.
set(LINKOMETRY_TEST_SOURCES "${PROJECT_BINARY_DIR}/test-sources.txt")
file(WRITE "${LINKOMETRY_TEST_SOURCES}" "")

# Windows programs run under Wine, which keeps its files in the build folder. A path of this machine has a drive there.
set(LINKOMETRY_TEST_SOURCE_DIR "${PROJECT_SOURCE_DIR}")
set(LINKOMETRY_TEST_TIMEOUT 60)
set(LINKOMETRY_SYSTEM_TEST_TIMEOUT 180)
if(WIN32 AND CMAKE_CROSSCOMPILING)
  set(CMAKE_CROSSCOMPILING_EMULATOR "${PROJECT_SOURCE_DIR}/tools/run-wine;${PROJECT_BINARY_DIR}/wine")
  set(LINKOMETRY_TEST_SOURCE_DIR "Z:${PROJECT_SOURCE_DIR}")
  # The start of Wine is part of a test, and takes long on a busy machine.
  set(LINKOMETRY_TEST_TIMEOUT 180)
  set(LINKOMETRY_SYSTEM_TEST_TIMEOUT 900)
endif()

# GoogleTest's headers are a quarter of what a test costs to compile. A compiler cache keeps no file that was compiled with
# them precompiled, and then does more for a build than they do.
set(precompile ON)
if(CMAKE_CXX_COMPILER_LAUNCHER MATCHES "ccache")
  set(precompile OFF)
endif()
option(LINKOMETRY_PRECOMPILE_TESTS "Compile GoogleTest's headers once for all tests" ${precompile})

# All tests have the same compiler flags, hence share what is precompiled.
function(linkometry_precompile target)
  if(NOT TARGET test-headers)
    file(CONFIGURE OUTPUT "${PROJECT_BINARY_DIR}/test-headers.cpp" CONTENT "")
    add_library(test-headers OBJECT "${PROJECT_BINARY_DIR}/test-headers.cpp")
    target_compile_options(test-headers PRIVATE -fno-rtti)
    target_link_libraries(test-headers PRIVATE linkometry_language linkometry_warnings GTest::gmock)
    target_precompile_headers(test-headers PRIVATE <gmock/gmock.h> <gtest/gtest.h>)
  endif()
  target_precompile_headers(${target} REUSE_FROM test-headers)
endfunction()

# A process for each test keeps the tests apart. Under Wine and the sanitizers its start takes longer than the test.
option(LINKOMETRY_TESTS_BY_SUITE "Run the tests of a suite in one process" OFF)

# linkometry_discover_suites(<target> <timeout> <labels>): each suite of a GoogleTest program becomes a ctest entry.
function(linkometry_discover_suites target timeout labels)
  get_property(emulator TARGET ${target} PROPERTY CROSSCOMPILING_EMULATOR)
  set(suites "${CMAKE_CURRENT_BINARY_DIR}/${target}-suites.cmake")
  file(GENERATE OUTPUT "${suites}" CONTENT "set(command \"${emulator};$<TARGET_FILE:${target}>\")
set(timeout ${timeout})
set(labels \"${labels}\")
include(\"${PROJECT_SOURCE_DIR}/cmake/AddSuites.cmake\")
")
  set_property(DIRECTORY APPEND PROPERTY TEST_INCLUDE_FILES "${suites}")
endfunction()

# linkometry_test(<target> LABELS <label>... SOURCES <file>... [POSIX <file>...] [W32 <file>...] LIBRARIES <target>...)
#
# A GoogleTest program. Each of its tests, or of its suites, is a ctest entry, and so a process, of its own with a time limit.
# POSIX and W32 name files of posix/ and w32/ folders, which the build for that platform alone has. What the tests need of
# a platform stands in tests/support/posix and tests/support/w32, under the same names.
function(linkometry_test target)
  cmake_parse_arguments(ARG "" "TIMEOUT" "LABELS;SOURCES;POSIX;W32;LIBRARIES" ${ARGN})
  if(NOT ARG_TIMEOUT)
    set(ARG_TIMEOUT ${LINKOMETRY_TEST_TIMEOUT})
  endif()
  string(TOUPPER ${SPW_PLATFORM} platform)
  add_executable(${target} ${ARG_SOURCES} ${ARG_${platform}})
  # For tools/test-targets, which finds the program that holds a test before it is built.
  list(TRANSFORM ARG_SOURCES PREPEND "${CMAKE_CURRENT_SOURCE_DIR}/" OUTPUT_VARIABLE sources)
  list(TRANSFORM ARG_${platform} PREPEND "${CMAKE_CURRENT_SOURCE_DIR}/" OUTPUT_VARIABLE platform_sources)
  file(APPEND "${LINKOMETRY_TEST_SOURCES}" "${target};${sources};${platform_sources}\n")
  # The framework's classes carry no RTTI, so neither can what derives from them in a test.
  target_compile_options(${target} PRIVATE -fno-rtti)
  target_link_libraries(${target} PRIVATE ${ARG_LIBRARIES} test-support linkometry_warnings GTest::gmock GTest::gtest_main)
  if(LINKOMETRY_PRECOMPILE_TESTS)
    linkometry_precompile(${target})
  endif()
  if(LINKOMETRY_TESTS_BY_SUITE)
    linkometry_discover_suites(${target} ${ARG_TIMEOUT} "${ARG_LABELS}")
  else()
    # The first program of a run waits until Wine's files are made.
    gtest_discover_tests(${target} DISCOVERY_MODE PRE_TEST DISCOVERY_TIMEOUT 600
      PROPERTIES TIMEOUT ${ARG_TIMEOUT} LABELS "${ARG_LABELS}")
  endif()
endfunction()

# linkometry_test_data(<file> <NAME>="<path>"...)
#
# Tells one source where its data are. The other sources of its program compile alike wherever the project stands, so
# that a compiler cache serves all checkouts.
function(linkometry_test_data file)
  set_property(SOURCE "${file}" APPEND PROPERTY COMPILE_DEFINITIONS ${ARGN})
endfunction()

# The distribution's Python: the scripts need nothing but its standard library.
find_program(LINKOMETRY_PYTHON python3 HINTS /usr/bin REQUIRED)

# linkometry_python_tests(<path> <result>): the tests in a file of Python's unittest as Module.Class.method.
function(linkometry_python_tests path result)
  set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS "${path}")
  get_filename_component(module "${path}" NAME_WE)
  file(STRINGS "${path}" lines REGEX "^class [A-Za-z0-9_]+|^    def test_[A-Za-z0-9_]+")
  set(tests)
  foreach(line IN LISTS lines)
    if(line MATCHES "^class ([A-Za-z0-9_]+)")
      set(class "${CMAKE_MATCH_1}")
    elseif(line MATCHES "def (test_[A-Za-z0-9_]+)")
      list(APPEND tests "${module}.${class}.${CMAKE_MATCH_1}")
    endif()
  endforeach()
  set(${result} "${tests}" PARENT_SCOPE)
endfunction()

# linkometry_system_test(<file>.py [UNDISTURBED <class>...] [SLOW <class>...] [EXCEPT <regular expression>])
#
# Makes each method of each test class in the file a ctest entry of its own: system.<file>.<class>.<method>. It runs
# this build's program in network namespaces, and is skipped, with the reason, where they may not be made. Tests of the
# UNDISTURBED classes, which need the processor or its quiet for themselves, run while no other does. Those of the SLOW
# classes may take ten minutes, and are started first.
#
# In a Windows build the tests run that build's program, and beside it the one of the build for Linux, which must be there.
# Tests of the handheld's program run in the 32-bit Wine that tools/windows-ce/make-wine-root makes.
set(LINKOMETRY_WINE_ENVIRONMENT "")
if(LINKOMETRY_WINDOWS_CE_HOST)
  set(LINKOMETRY_WINE_ENVIRONMENT "LINKOMETRY_WINE_ROOT=${PROJECT_SOURCE_DIR}/build/wine-i386")
endif()
function(linkometry_system_test file)
  cmake_parse_arguments(ARG "" "EXCEPT" "UNDISTURBED;SLOW" ${ARGN})
  set(path "${PROJECT_SOURCE_DIR}/tests/system/${file}")
  set(programs --program "${PROJECT_BINARY_DIR}/linkometry")
  if(WIN32)
    set(programs --program "${PROJECT_SOURCE_DIR}/build/linux/linkometry"
      --windows-program "${PROJECT_BINARY_DIR}/linkometry.exe")
  endif()
  linkometry_python_tests("${path}" tests)
  if(ARG_EXCEPT)
    list(FILTER tests EXCLUDE REGEX "${ARG_EXCEPT}")
  endif()
  foreach(test IN LISTS tests)
    add_test(NAME system.${test} COMMAND "${LINKOMETRY_PYTHON}" "${PROJECT_SOURCE_DIR}/tests/system/run.py"
      ${programs} ${test})
    set_tests_properties(system.${test} PROPERTIES LABELS netns
      TIMEOUT ${LINKOMETRY_SYSTEM_TEST_TIMEOUT} SKIP_RETURN_CODE 77)
    if(WIN32)
      set_tests_properties(system.${test} PROPERTIES FIXTURES_REQUIRED wine-files ENVIRONMENT "${LINKOMETRY_WINE_ENVIRONMENT}")
    endif()
    string(REGEX REPLACE "^[^.]*\\.([^.]*)\\..*" "\\1" class "${test}")
    if(class IN_LIST ARG_UNDISTURBED)
      set_tests_properties(system.${test} PROPERTIES RUN_SERIAL ON)
    endif()
    if(class IN_LIST ARG_SLOW)
      set_tests_properties(system.${test} PROPERTIES TIMEOUT 600 COST 600)
    endif()
  endforeach()
endfunction()
