# The handheld's own libraries, and what its programs are made of beside our sources.
set(imports "${PROJECT_BINARY_DIR}/imports")
set(api "${PROJECT_SOURCE_DIR}/tools/windows-ce-3.0-api.txt")
set(maker "${PROJECT_SOURCE_DIR}/tools/windows-ce/make-import-libraries")
set(import_libraries coredll winsock commctrl)

list(TRANSFORM import_libraries REPLACE "(.+)" "${imports}/lib\\1.a" OUTPUT_VARIABLE import_files)
add_custom_command(OUTPUT ${import_files}
  COMMAND "${maker}" "${LINKOMETRY_WINDOWS_CE_PREFIX}dlltool" "${api}" "${imports}" ${import_libraries}
  DEPENDS "${api}" "${maker}" VERBATIM)
add_custom_target(windows_ce_imports DEPENDS ${import_files})
foreach(library IN LISTS import_libraries)
  add_library(windows_ce_${library} INTERFACE)
  target_link_libraries(windows_ce_${library} INTERFACE "${imports}/lib${library}.a")
  add_dependencies(windows_ce_${library} windows_ce_imports)
endforeach()

# The C++ run-time library's part.
set(runtime "${PROJECT_SOURCE_DIR}/tools/windows-ce/runtime")
add_library(windows_ce_runtime STATIC
  "${runtime}/Atomics.cpp"
  "${runtime}/Division.cpp"
  "${runtime}/Failures.cpp"
  "${runtime}/Memory.cpp"
  "${runtime}/Start.cpp")
target_link_libraries(windows_ce_runtime PUBLIC windows_ce_coredll PRIVATE linkometry_language)

# windows_ce_program(<target>): a program of the handheld's subsystem that starts where its run-time part says, and of
# which nothing is kept that is not used. A thread's stack is what this header says; the platform's usual size. The system
# loads every program to the same address, so that there is nothing to relocate.
function(windows_ce_program target)
  target_link_options(${target} PRIVATE --subsystem=wince:3.0 --major-os-version=3 --minor-os-version=0
    --entry=WinMainCRTStartup --gc-sections --strip-all --stack=0x10000
    --disable-reloc-section --disable-dynamicbase --disable-nxcompat --no-insert-timestamp
    "-Map=$<TARGET_FILE_DIR:${target}>/${target}.map")
  target_link_libraries(${target} PRIVATE windows_ce_runtime)
endfunction()
