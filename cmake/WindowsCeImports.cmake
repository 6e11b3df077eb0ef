# The import libraries of the handheld, made from the list of names that a program may import.
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
