# LINKOMETRY_SANITIZE: a list for -fsanitize=, such as "address,undefined" or "thread".
set(LINKOMETRY_SANITIZE "" CACHE STRING "Sanitizers to build everything with")

if(LINKOMETRY_SANITIZE)
  add_compile_options(-fsanitize=${LINKOMETRY_SANITIZE} -fno-sanitize-recover=all -fno-omit-frame-pointer)
  add_link_options(-fsanitize=${LINKOMETRY_SANITIZE})
endif()
