# How GNU tools make libraries and programs for Windows CE; CMake knows only Microsoft's.
set(CMAKE_EXECUTABLE_SUFFIX .exe)
set(CMAKE_STATIC_LIBRARY_PREFIX lib)
set(CMAKE_STATIC_LIBRARY_SUFFIX .a)
set(CMAKE_CXX_OUTPUT_EXTENSION .o)

set(CMAKE_INCLUDE_FLAG_CXX "-I")
set(CMAKE_DEPFILE_FLAGS_CXX "-MD -MT <DEP_TARGET> -MF <DEP_FILE>")
set(CMAKE_CXX_COMPILE_OBJECT "<CMAKE_CXX_COMPILER> <DEFINES> <INCLUDES> <FLAGS> -o <OBJECT> -c <SOURCE>")
set(CMAKE_CXX_ARCHIVE_CREATE "<CMAKE_AR> qc <TARGET> <OBJECTS>")
set(CMAKE_CXX_ARCHIVE_FINISH "<CMAKE_RANLIB> <TARGET>")

# Each library may want any other: the C++ library's pieces want memory, memory wants the system.
set(CMAKE_CXX_LINK_EXECUTABLE
  "<CMAKE_LINKER> <LINK_FLAGS> -o <TARGET> <OBJECTS> --start-group <LINK_LIBRARIES> --end-group")
set(CMAKE_RC_COMPILE_OBJECT
  "<CMAKE_RC_COMPILER> --preprocessor=arm-none-eabi-gcc --preprocessor-arg=-E --preprocessor-arg=-xc-header --preprocessor-arg=-DRC_INVOKED --preprocessor-arg=-I${LINKOMETRY_ROOT}/tools/windows-ce/include <DEFINES> <INCLUDES> -O coff <SOURCE> <OBJECT>")
