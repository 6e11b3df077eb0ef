# spw_class(<folder> [PORTABLE <file>...] [HALVES <class>...] [POSIX <class>...] [W32 <class>...])
#
# Adds one class folder below src/SPW/src to the library spw: the named files of its portable/ folder, and for each
# class in HALVES the file <class><Suffix>.cpp of the folder of this build's platform. POSIX and W32 name classes that
# the half of one platform alone is made of. Headers of both folders are visible to all of spw and to nobody else:
# contracts, and what one platform half offers to the others.
function(spw_class folder)
  cmake_parse_arguments(ARG "" "" "PORTABLE;HALVES;POSIX;W32" ${ARGN})
  set(base "${CMAKE_CURRENT_SOURCE_DIR}/src/${folder}")
  foreach(file IN LISTS ARG_PORTABLE)
    target_sources(spw PRIVATE "${base}/portable/${file}")
  endforeach()
  string(TOUPPER ${SPW_PLATFORM} platform)
  foreach(class IN LISTS ARG_HALVES ARG_${platform})
    target_sources(spw PRIVATE "${base}/${SPW_PLATFORM}/${class}${SPW_PLATFORM_SUFFIX}.cpp")
  endforeach()
  target_include_directories(spw PRIVATE "${base}/portable")
  if(ARG_HALVES)
    target_include_directories(spw PRIVATE "${base}/${SPW_PLATFORM}")
  endif()
endfunction()
