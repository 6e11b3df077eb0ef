find_package(GTest REQUIRED)
include(GoogleTest)

# linkometry_test(<target> LABELS <label>... SOURCES <file>... LIBRARIES <target>...)
#
# A GoogleTest program. Each of its tests is a ctest entry, and so a process, of its own with a time limit.
function(linkometry_test target)
  cmake_parse_arguments(ARG "" "TIMEOUT" "LABELS;SOURCES;LIBRARIES" ${ARGN})
  if(NOT ARG_TIMEOUT)
    set(ARG_TIMEOUT 60)
  endif()
  add_executable(${target} ${ARG_SOURCES})
  target_include_directories(${target} PRIVATE "${PROJECT_SOURCE_DIR}/tests/support")
  # The framework's classes carry no RTTI, so neither can what derives from them in a test.
  target_compile_options(${target} PRIVATE -fno-rtti)
  target_link_libraries(${target} PRIVATE ${ARG_LIBRARIES} linkometry_warnings GTest::gmock GTest::gtest_main)
  gtest_discover_tests(${target} DISCOVERY_MODE PRE_TEST
    PROPERTIES TIMEOUT ${ARG_TIMEOUT} LABELS "${ARG_LABELS}")
endfunction()
