# spw_class(<folder> [PORTABLE <file>...] [HALVES <class>...])
#
# Adds one class folder below src/SPW/src to the library spw: the named files of its portable/ folder,
# and for each class in HALVES the file <class><Suffix>.cpp of the folder of this build's platform. Headers of both
# folders are visible to all of spw and to nobody else: contracts, and what one platform half offers to the others.
function(spw_class folder)
  cmake_parse_arguments(ARG "" "" "PORTABLE;HALVES" ${ARGN})
  set(base "${CMAKE_CURRENT_SOURCE_DIR}/src/${folder}")
  foreach(file IN LISTS ARG_PORTABLE)
    target_sources(spw PRIVATE "${base}/portable/${file}")
  endforeach()
  foreach(class IN LISTS ARG_HALVES)
    set(half "${base}/${SPW_PLATFORM}/${class}${SPW_PLATFORM_SUFFIX}.cpp")
    if(SPW_PLATFORM STREQUAL "posix" OR EXISTS "${half}")
      target_sources(spw PRIVATE "${half}")
    endif()
  endforeach()
  target_include_directories(spw PRIVATE "${base}/portable")
  if(ARG_HALVES AND EXISTS "${base}/${SPW_PLATFORM}")
    target_include_directories(spw PRIVATE "${base}/${SPW_PLATFORM}")
  endif()
endfunction()
