# velmora_add_module(NAME file... [LIBRARIES ...])
# Makes the recognition module NAME, a plug-in that the capture library loads by this name: NAME.so,
# on Windows NAMEx86.dll. LIBRARIES are linked into the module alone. Installed to
# <libdir>/velmora/modules, it finds the core however the installed tree is moved.
function(velmora_add_module name)
  cmake_parse_arguments(PARSE_ARGV 1 module "" "" "LIBRARIES")
  set(suffix .so)
  if(WIN32)
    set(suffix x86.dll)
  endif()
  add_library(${name} MODULE ${module_UNPARSED_ARGUMENTS})
  target_link_libraries(${name} PRIVATE Velmora::ModuleKit ${module_LIBRARIES})
  set_target_properties(
    ${name}
    PROPERTIES PREFIX ""
               SUFFIX ${suffix}
               CXX_VISIBILITY_PRESET hidden
               VISIBILITY_INLINES_HIDDEN ON
               INSTALL_RPATH "$ORIGIN/../..")
endfunction()
