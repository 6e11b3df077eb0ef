# What the tools make of a source depends on their own files, which no build would look at by itself.
set(tools "${PROJECT_SOURCE_DIR}/tools/windows-ce")
set(tool_files "${tools}/arm-mingw32ce-g++" "${tools}/elf_to_coff.py" "${tools}/target.flags"
  "${PROJECT_SOURCE_DIR}/build/windows-ce-toolchain/key")
set(tool_hashes "")
foreach(file IN LISTS tool_files)
  file(SHA256 "${file}" hash)
  string(APPEND tool_hashes "${hash}")
endforeach()
string(SHA256 tool_hash "${tool_hashes}")
set_property(DIRECTORY "${PROJECT_SOURCE_DIR}" APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS ${tool_files})
add_compile_options($<$<COMPILE_LANGUAGE:CXX>:--tools=${tool_hash}>)

# The handheld's own libraries, and what its programs are made of beside our sources.
if(LINKOMETRY_WINDOWS_CE_EMULATED)
  # The tests bring what stands for the libraries; there is no program.
  add_library(windows_ce_coredll INTERFACE)
  add_library(windows_ce_winsock INTERFACE)
  add_library(windows_ce_commctrl INTERFACE)
else()
  include(WindowsCeImports)
endif()

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
  if(LINKOMETRY_WINDOWS_CE_EMULATED)
    set_target_properties(${target} PROPERTIES EXCLUDE_FROM_ALL ON)
    return()
  endif()
  target_link_options(${target} PRIVATE --subsystem=wince:3.0 --major-os-version=3 --minor-os-version=0
    --entry=WinMainCRTStartup --gc-sections --strip-all --stack=0x10000
    --disable-reloc-section --disable-dynamicbase --disable-nxcompat --no-insert-timestamp
    "-Map=$<TARGET_FILE_DIR:${target}>/${target}.map")
  target_link_libraries(${target} PRIVATE windows_ce_runtime)
endfunction()
