# Makes a fault of the program hard to use for an attack: the bytes that it reads come from anyone on the network.
# tests/rules/HardeningTest.py reads all of this back from the finished program.
#
# The sanitizers find more than these and do not go along with all of them. A handheld has none of them.
include(CheckCXXCompilerFlag)

# linkometry_harden(<flag>...): compiles with those flags that this compiler and this processor know.
function(linkometry_harden)
  foreach(flag IN LISTS ARGN)
    string(MAKE_C_IDENTIFIER "LINKOMETRY_HAS${flag}" known)
    check_cxx_compiler_flag(${flag} ${known})
    if(${known})
      add_compile_options(${flag})
    endif()
  endforeach()
endfunction()

if(WINCE OR LINKOMETRY_SANITIZE)
  return()
endif()

linkometry_harden(-fstack-protector-strong)
if(WIN32)
  # GCC has no control-flow guard for Windows. Its linker's defaults are named so that they stay.
  add_link_options(-fstack-protector-strong -Wl,--dynamicbase,--nxcompat)
  if(CMAKE_SIZEOF_VOID_P EQUAL 8)
    add_link_options(-Wl,--high-entropy-va)
  endif()
else()
  linkometry_harden(-fstack-clash-protection -fcf-protection=full -mbranch-protection=standard)
  # Some distributions' compilers set a level of their own. Without optimisation the C library only warns.
  add_compile_options($<$<NOT:$<CONFIG:Debug>>:-U_FORTIFY_SOURCE> $<$<NOT:$<CONFIG:Debug>>:-D_FORTIFY_SOURCE=3>)
  # A library that is loaded at run time has -fPIC, which -fPIE would take back.
  set(is_module $<STREQUAL:$<TARGET_PROPERTY:TYPE>,MODULE_LIBRARY>)
  add_compile_options($<$<NOT:${is_module}>:-fPIE>)
  add_link_options($<$<NOT:${is_module}>:-pie> -Wl,-z,relro,-z,now,-z,noexecstack)
endif()
