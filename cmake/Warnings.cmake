# Every target of the project links linkometry_warnings privately.
option(LINKOMETRY_WERROR "Treat warnings as errors" ON)

add_library(linkometry_warnings INTERFACE)
target_compile_options(linkometry_warnings INTERFACE
  -Wall -Wextra -Wpedantic -Wshadow -Wconversion -Wnon-virtual-dtor -Woverloaded-virtual
  -Wcast-align -Wold-style-cast -Wundef -Wunused -Wvla)
if(LINKOMETRY_WERROR)
  target_compile_options(linkometry_warnings INTERFACE -Werror)
endif()
