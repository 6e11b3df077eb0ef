# Read by ctest for each test program: makes an entry of each suite that the program says it has.
#
# command: what starts the program; timeout: the seconds of a test, and of a suite at that; labels: of all its entries.
execute_process(COMMAND ${command} --gtest_list_tests OUTPUT_VARIABLE listing RESULT_VARIABLE status)
string(REGEX MATCHALL "(^|\n)[A-Za-z0-9_/]+\\." suites "${listing}")
if(NOT status EQUAL 0 OR NOT suites)
  list(GET command -1 program)
  message(FATAL_ERROR "${program} does not tell its tests: ${status}")
endif()
foreach(suite IN LISTS suites)
  string(REGEX REPLACE "[\n.]" "" suite "${suite}")
  add_test("${suite}" ${command} "--gtest_filter=${suite}.*")
  set_tests_properties("${suite}" PROPERTIES TIMEOUT ${timeout} LABELS "${labels}")
endforeach()
