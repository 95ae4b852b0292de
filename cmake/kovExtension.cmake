# kov_add_extension(<name> <source>...)
#
# Builds an extension library lib<name>.so from the sources: a MODULE (loaded at run time, never
# linked) that links kov::extension, so that it sees the kov headers, links the core library and
# exports nothing but what it marks visible (its two entry points).
function(kov_add_extension name)
  if(NOT ARGN)
    message(FATAL_ERROR "kov_add_extension(${name}): no source files given")
  endif()
  add_library(${name} MODULE ${ARGN})
  target_link_libraries(${name} PRIVATE kov::extension)
  # The extension manager loads only files whose name ends in exactly ".so".
  set_target_properties(${name} PROPERTIES PREFIX "lib" SUFFIX ".so")
endfunction()
